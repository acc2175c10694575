// The five core fields of a file, read back by path.
#pragma once

#include <string>

#include "protocol/dictionary.h"

namespace tagwriter::test {

struct CoreFields {
  std::string title;
  std::string artist;
  std::string album;
  std::string genre;
  unsigned year = 0;
  bool operator==(const CoreFields&) const = default;
};

void PrintTo(const CoreFields& fields, std::ostream* out);

/// What the file at `path` holds; a test failure when it has no tag. Reads DSF files as well.
CoreFields coreFieldsOf(const std::string& path);

/// A string writer with the member that it changes.
struct StringField {
  const char* name;
  bool (*write)(UniqueFd fd, const char* path, const char* value, const Dictionary& request);
  std::string CoreFields::*member;
};

/// Title, artist, album and genre.
extern const StringField kStringFields[4];

}  // namespace tagwriter::test
