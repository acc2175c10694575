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

[[noreturn]] void fail(const std::string& name, int error) {
  throw UsageError(name + ": cannot be read: " + std::strerror(error));
}

std::string readAll(int fd, const std::string& name) {
  std::string bytes;
  std::array<char, 1 << 16> buffer{};
  while (true) {
    const ssize_t count = ::read(fd, buffer.data(), buffer.size());
    if (count == 0) return bytes;
    if (count > 0) {
      bytes.append(buffer.data(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      fail(name, errno);
    }
  }
}

}  // namespace

std::string readFileOrPipe(const std::string& path) {
  const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) fail(path, errno);
  return readAll(file.get(), path);
}

std::string readInput(const std::string& path) {
  return path == kStandardInput ? readAll(STDIN_FILENO, "standard input") : readFileOrPipe(path);
}

}  // namespace tagwriter
