#include "client/log_pipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <utility>

namespace tagwriter {
namespace {

constexpr std::size_t kMostKept = std::size_t{64} << 10;

}  // namespace

UniqueFd LogPipe::open() {
  handle();  // what the worker before has written last
  int ends[2] = {-1, -1};
  if (::pipe2(ends, O_CLOEXEC) != 0) return {};
  ours_ = aboveStandardStreams(UniqueFd(ends[0]));
  UniqueFd theirs = aboveStandardStreams(UniqueFd(ends[1]));
  // Only this end: the worker's must not fail because nobody reads at the moment.
  if (!ours_ || ::fcntl(ours_.get(), F_SETFL, O_NONBLOCK) != 0) return {};
  return theirs;
}

void LogPipe::handle() {
  char buffer[4096];
  while (ours_) {
    const ssize_t size = ::read(ours_.get(), buffer, sizeof buffer);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0 && errno == EAGAIN) return;
    if (size <= 0) return ours_.reset();  // the worker has exited
    text_.append(buffer, std::min<std::size_t>(static_cast<std::size_t>(size),
                                               kMostKept - std::min(kMostKept, text_.size())));
  }
}

std::string LogPipe::take() {
  handle();
  return std::exchange(text_, {});
}

}  // namespace tagwriter
