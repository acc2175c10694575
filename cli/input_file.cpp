#include "cli/input_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "base/unique_fd.h"
#include "cli/usage_error.h"

namespace tagwriter {
namespace {

[[noreturn]] void fail(const std::string& path, int error) {
  const std::string name = path == kStandardInput ? "standard input" : path;
  throw UsageError(name + ": cannot be read: " + std::strerror(error));
}

std::string readAll(int fd, const std::string& path) {
  std::string bytes;
  std::array<char, 1 << 16> buffer{};
  while (true) {
    const ssize_t count = ::read(fd, buffer.data(), buffer.size());
    if (count == 0) return bytes;
    if (count > 0) {
      bytes.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      fail(path, errno);
    }
  }
}

}  // namespace

std::string readInput(const std::string& path) {
  if (path == kStandardInput) return readAll(STDIN_FILENO, path);
  const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) fail(path, errno);
  return readAll(file.get(), path);
}

}  // namespace tagwriter
