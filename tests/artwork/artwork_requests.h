// The two operations on files by their paths, with a look at every descriptor.
#pragma once

#include <cstdint>
#include <string>

namespace tagwriter::test {

/// Writes `image` into the file at `path` and returns the result. A test failure when the
/// descriptor that was handed over, or any other, is still open afterwards.
bool write(const std::string& path, const std::string& image, std::int64_t artworkType,
           bool replace);

/// Clears the file at `path` and returns the result. The same holds.
bool clear(const std::string& path);

/// Tells whether somebody has written to a file since the watch began, be it the same bytes.
class WriteWatch {
 public:
  /// Sets the file's modification time to a moment long ago.
  explicit WriteWatch(std::string path);
  bool written() const;

 private:
  std::string path_;
};

}  // namespace tagwriter::test
