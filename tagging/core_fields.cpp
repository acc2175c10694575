#include "tagging/core_fields.h"

#include <fileref.h>
#include <tag.h>

#include "base/log.h"
#include "io/owning_stream.h"
#include "io/save.h"
#include "tagging/strings.h"

namespace tagwriter {
namespace {

using TagLib::Tag;

/// Opens the file by the library's own rules, runs `edit` on its tag and saves. `name` is the
/// field's, for the log line.
template <typename Edit>
bool writeGenericTag(int fd, const char* path, const char* name, const Dictionary& request,
                     Edit edit) {
  OwningStream stream(fd, path, &request);
  TagLib::FileRef file(&stream, false, TagLib::AudioProperties::Average);
  if (file.isNull()) {
    logLine("Failed to write %s tag to file. TagLib could not read the file at %s", name,
            path ? path : "(null)");
    return false;
  }
  if (Tag* tag = file.tag()) edit(*tag);
  return saveReference(file);
}

}  // namespace

bool writeTitle(int fd, const char* path, const char* value, const Dictionary& request) {
  return writeGenericTag(fd, path, "title", request, [value](Tag& tag) {
    // Twice on purpose (kept); the second call changes nothing.
    tag.setTitle(toTagString(value));
    tag.setTitle(toTagString(value));
  });
}

bool writeArtist(int fd, const char* path, const char* value, const Dictionary& request) {
  return writeGenericTag(fd, path, "artist", request,
                         [value](Tag& tag) { tag.setArtist(toTagString(value)); });
}

bool writeAlbum(int fd, const char* path, const char* value, const Dictionary& request) {
  return writeGenericTag(fd, path, "album", request,
                         [value](Tag& tag) { tag.setAlbum(toTagString(value)); });
}

bool writeGenre(int fd, const char* path, const char* value, const Dictionary& request) {
  return writeGenericTag(fd, path, "genre", request,
                         [value](Tag& tag) { tag.setGenre(toTagString(value)); });
}

bool writeYear(int fd, const char* path, std::int64_t value, const Dictionary& request) {
  return writeGenericTag(fd, path, "year", request,
                         [value](Tag& tag) { tag.setYear(static_cast<std::uint32_t>(value)); });
}

}  // namespace tagwriter
