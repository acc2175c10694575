#include "tests/artwork/artwork_requests.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <utility>

#include "artwork/clear_artwork.h"
#include "artwork/write_artwork.h"
#include "protocol/keys.h"
#include "protocol/value_dictionary.h"
#include "tests/support/descriptors.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace tagwriter::test {
namespace {

constexpr time_t kLongAgo = 1000000000;

/// Runs operation(fd) on a descriptor that it takes over. Nothing is logged by it.
template <typename Operation>
bool onDescriptorOf(const std::string& path, const Operation& operation) {
  const std::size_t before = countDescriptors();
  const LogCapture log;
  const int fd = openFile(path).release();
  const bool result = operation(fd);
  EXPECT_FALSE(isOpen(fd)) << path;
  EXPECT_EQ(countDescriptors(), before) << path;
  EXPECT_EQ(log.text(), "") << path;
  return result;
}

}  // namespace

bool write(const std::string& path, const std::string& image, std::int64_t artworkType,
           bool replace) {
  ValueDictionary request;
  request.set(key::kReplaceArtwork, replace);
  return onDescriptorOf(path, [&](int fd) {
    return writeArtwork(UniqueFd(fd), path.c_str(), std::as_bytes(std::span(image)), artworkType,
                        request);
  });
}

bool clear(const std::string& path) {
  return onDescriptorOf(
      path, [&](int fd) { return clearArtwork(UniqueFd(fd), path.c_str(), ValueDictionary()); });
}

WriteWatch::WriteWatch(std::string path) : path_(std::move(path)) {
  const timespec times[] = {{kLongAgo, 0}, {kLongAgo, 0}};
  EXPECT_EQ(::utimensat(AT_FDCWD, path_.c_str(), times, 0), 0) << path_;
}

bool WriteWatch::written() const {
  struct stat status {};
  EXPECT_EQ(::stat(path_.c_str(), &status), 0) << path_;
  return status.st_mtime != kLongAgo;
}

}  // namespace tagwriter::test
