// One row of the field table, and the roads that a field can take into a file.
#pragma once

#include <apetag.h>
#include <asftag.h>
#include <id3v1tag.h>
#include <id3v2tag.h>
#include <mp4tag.h>
#include <xiphcomment.h>

#include "protocol/dictionary.h"
#include "tagging/cell.h"

namespace tagwriter {

struct FieldRow;

/// Writes a field into the file behind `fd`, which it takes over and closes. `path` (UTF-8, never
/// opened, may be null) names the file; `request` and what `value` points to are borrowed. Returns
/// whether the field was written.
using Road = bool (*)(const FieldRow& row, int fd, const char* path, const FieldValue& value,
                      const Dictionary& request);

/// A field, its road, and what it becomes in each tag family.
struct FieldRow {
  const char* key = nullptr;
  Road road = nullptr;
  Cell<TagLib::ID3v2::Tag> id3v2;
  Cell<TagLib::ID3v1::Tag> id3v1;
  Cell<TagLib::MP4::Tag> mp4;
  Cell<TagLib::Ogg::XiphComment> xiph;
  Cell<TagLib::ASF::Tag> asf;
  Cell<TagLib::APE::Tag> ape;
};

namespace road {

/// The row's cells, through writeTagToFile: the road of nearly every field.
bool editors(const FieldRow& row, int fd, const char* path, const FieldValue& value,
             const Dictionary& request);

/// A core field's writer, which goes through the tag library's generic tag; the row's cells only
/// tell what the library makes of it.
template <bool (*Write)(int fd, const char* path, const char* value, const Dictionary& request)>
bool generic(const FieldRow&, int fd, const char* path, const FieldValue& value,
             const Dictionary& request) {
  return Write(fd, path, value.text, request);
}
/// The same for a writer of numbers.
template <bool (*Write)(int fd, const char* path, std::int64_t value, const Dictionary& request)>
bool generic(const FieldRow&, int fd, const char* path, const FieldValue& value,
             const Dictionary& request) {
  return Write(fd, path, value.number, request);
}

/// The cue sheet's writer, which opens fewer formats.
bool cueSheet(const FieldRow& row, int fd, const char* path, const FieldValue& value,
              const Dictionary& request);

}  // namespace road
}  // namespace tagwriter
