// Scoped files: every test works on copies that vanish with it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/unique_fd.h"

namespace tagwriter::test {

/// A new directory, removed with everything in it at the end of its life.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }

  /// Copies tests/data/`name` here, as `as` when that is given, and returns the copy's path.
  std::string copyOf(const std::string& name, const std::string& as = "") const;
  /// Writes a file with these bytes here and returns its path.
  std::string write(const std::string& name, const std::string& bytes) const;

 private:
  std::filesystem::path path_;
};

/// The path of tests/data/`name`.
std::string dataFile(const std::string& name);

/// The name of every file in tests/data that holds audio, sorted.
std::vector<std::string> audioFileNames();

/// All bytes of a file; a test failure when it cannot be read.
std::string readFile(const std::string& path);

/// Opens for reading and writing, or with other `flags`; close-on-exec. A test failure when it
/// cannot be opened.
UniqueFd openFile(const std::string& path);
UniqueFd openFile(const std::string& path, int flags);

}  // namespace tagwriter::test
