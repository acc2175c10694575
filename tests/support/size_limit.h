// A disk that is full: here because of a file size limit.
#pragma once

#include <sys/resource.h>

#include <csignal>

namespace tagwriter::test {

/// While it lives, no file may become longer than `size` bytes, here and in processes started
/// meanwhile.
class SizeLimit {
 public:
  explicit SizeLimit(rlim_t size) {
    std::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit = {size, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~SizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before_); }
  SizeLimit(const SizeLimit&) = delete;
  SizeLimit& operator=(const SizeLimit&) = delete;

 private:
  rlimit before_{};
};

}  // namespace tagwriter::test
