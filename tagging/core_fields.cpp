#include "tagging/core_fields.h"

#include <fileref.h>

#include <utility>

#include "base/log.h"
#include "io/save.h"
#include "io/with_stream.h"

namespace tagwriter {

using TagLib::FileRef;
using TagLib::StagedStream;

bool writeCoreField(const CoreField& field, const char* key, UniqueFd fd, const FieldChange& change,
                    const Dictionary& request) {
  const char* path = change.path;
  return withStream(std::move(fd), path, request, [&](StagedStream& stream) {
    FileRef file(&stream, false, TagLib::AudioProperties::Average);
    if (file.isNull()) {
      logLine("Failed to write %s tag to file. TagLib could not read the file at %s", key,
              path ? path : "(null)");
      return false;
    }
    if (TagLib::Tag* tag = file.tag()) field.set(*tag, change);
    return saveReference(file);
  });
}

}  // namespace tagwriter
