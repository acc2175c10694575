// The writers of the core fields, one by one.
#pragma once

#include "tagging/core_fields.h"

namespace tagwriter::test {

inline bool writeCoreText(const CoreField& field, const char* key, UniqueFd fd, const char* path,
                          const char* value, const Dictionary& request) {
  FieldChange change;
  change.text = value;
  change.path = path;
  return writeCoreField(field, key, std::move(fd), change, request);
}

inline bool writeTitle(UniqueFd fd, const char* path, const char* value, const Dictionary& r) {
  return writeCoreText(core::kTitle, "title", std::move(fd), path, value, r);
}
inline bool writeArtist(UniqueFd fd, const char* path, const char* value, const Dictionary& r) {
  return writeCoreText(core::kArtist, "artist", std::move(fd), path, value, r);
}
inline bool writeAlbum(UniqueFd fd, const char* path, const char* value, const Dictionary& r) {
  return writeCoreText(core::kAlbum, "album", std::move(fd), path, value, r);
}
inline bool writeGenre(UniqueFd fd, const char* path, const char* value, const Dictionary& r) {
  return writeCoreText(core::kGenre, "genre", std::move(fd), path, value, r);
}
inline bool writeYear(UniqueFd fd, const char* path, std::int64_t value, const Dictionary& r) {
  FieldChange change;
  change.number = value;
  change.path = path;
  return writeCoreField(core::kYear, "year", std::move(fd), change, r);
}

}  // namespace tagwriter::test
