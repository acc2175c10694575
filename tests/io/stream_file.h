// A temporary file with known bytes, for the tests of the file stream.
#pragma once

#include <fcntl.h>
#include <tbytevector.h>

#include <cstdint>
#include <string>

#include "tests/support/temporary_directory.h"

namespace tagwriter::test {

inline TagLib::ByteVector vectorOf(const std::string& bytes) {
  return TagLib::ByteVector(bytes.data(), static_cast<unsigned int>(bytes.size()));
}

inline std::string stringOf(const TagLib::ByteVector& bytes) {
  return std::string(bytes.data(), bytes.size());
}

/// `size` pseudo-random bytes, so that any shift shows.
inline std::string patternOf(std::size_t size, std::uint64_t seed = 1) {
  std::string bytes(size, '\0');
  std::uint64_t state = seed * 0x9E3779B97F4A7C15u + 1;
  for (char& byte : bytes) {
    state = state * 6364136223846793005u + 1442695040888963407u;
    byte = static_cast<char>(state >> 56);
  }
  return bytes;
}

class StreamFile {
 public:
  explicit StreamFile(const std::string& bytes) : path_(directory_.write("file.mp3", bytes)) {}

  const std::string& path() const { return path_; }
  std::string bytes() const { return readFile(path_); }

  /// An open descriptor of the file, owned by the caller.
  int open(int flags = O_RDWR) const { return openFile(path_, flags).release(); }

 private:
  TemporaryDirectory directory_;
  std::string path_;
};

}  // namespace tagwriter::test
