#include "tests/support/descriptors.h"

#include <fcntl.h>

#include <filesystem>
#include <iterator>

namespace tagwriter::test {

std::size_t countDescriptors() {
  namespace fs = std::filesystem;
  // The listing's own descriptor is in each count, so counts compare.
  return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
}

bool isOpen(int fd) {
  return ::fcntl(fd, F_GETFD) != -1;
}

}  // namespace tagwriter::test
