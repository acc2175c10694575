#include "fuzz/memory_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "base/log.h"
#include "fuzz/input.h"

namespace tagwriter::fuzz {

MemoryFile::MemoryFile(std::string_view bytes) : fd_(::memfd_create("music", MFD_CLOEXEC)) {
  const auto size = static_cast<ssize_t>(bytes.size());
  if (!fd_ || ::pwrite(fd_.get(), bytes.data(), bytes.size(), 0) != size) {
    std::perror("fuzz: cannot make the file");
    std::exit(1);
  }
}

std::string MemoryFile::bytes() const {
  std::string bytes(static_cast<std::size_t>(::lseek(fd_.get(), 0, SEEK_END)), '\0');
  const ssize_t count = ::pread(fd_.get(), bytes.data(), bytes.size(), 0);
  promise(count == static_cast<ssize_t>(bytes.size()), "the file can be read");
  return bytes;
}

DescriptorCheck::~DescriptorCheck() {
  promise(lowestFree() == free_, "no descriptor stays open");
}

int DescriptorCheck::lowestFree() {
  return UniqueFd(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)).get();
}

void silenceLog() {
  setLogSink([](std::string_view) {});
}

}  // namespace tagwriter::fuzz
