#include "cli/file_contents.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace tagwriter {
namespace {

std::string openForReading(const std::string& path, UniqueFd& fd) {
  // Opening a pipe would block until it has a writer.
  fd = UniqueFd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!fd || ::fstat(fd.get(), &status) != 0) return std::strerror(errno);
  return S_ISREG(status.st_mode) ? "" : "not a regular file";
}

}  // namespace

std::string readFile(const std::string& path, Reader& reader, OpenedFile& file) {
  if (std::string problem = openForReading(path, file.fd); !problem.empty()) return problem;
  const Outcome read = reader.read(file.fd.get(), path, file.contents);
  if (!read) return read.message();
  return file.contents.isReadable ? "" : "cannot be read as an audio file";
}

}  // namespace tagwriter
