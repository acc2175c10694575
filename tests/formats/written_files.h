// What the format-dispatched write does with each file of tests/data.
#pragma once

#include <string>
#include <vector>

#include "tests/formats/recording_editors.h"

namespace tagwriter::test {

/// A file that is written: under which name, which editors run, and how its composer is read back
/// by path from the tag that the service is meant to edit.
struct WrittenFile {
  const char* data;  ///< in tests/data
  const char* name;  ///< what it is called while it is written
  std::vector<Family> edited;
  std::string (*composer)(const std::string& path);
};

const std::vector<WrittenFile>& writtenFiles();

/// A file that is refused under any name that is given here.
struct RefusedFile {
  const char* data;
  const char* name;
};

const std::vector<RefusedFile>& refusedFiles();

/// DSF files whose metadata pointer leads nowhere: their editor runs, but there is no place for a
/// tag.
const std::vector<std::string>& placelessFiles();

/// The same name in capital letters.
std::string inCapitals(std::string name);

}  // namespace tagwriter::test
