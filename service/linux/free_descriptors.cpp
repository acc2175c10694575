#include "service/linux/free_descriptors.h"

#include <sys/resource.h>

#include "base/unique_fd.h"

namespace tagwriter {

FreeDescriptors::FreeDescriptors() {
  rlimit limit = {};
  limit_ = ::getrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : RLIM_INFINITY;
}

bool FreeDescriptors::areFewerThan(std::uint64_t count, int fd) const {
  // The system gives out the lowest free number.
  const UniqueFd next = duplicateFd(fd);
  return !next || static_cast<std::uint64_t>(next.get()) + count > limit_;
}

}  // namespace tagwriter
