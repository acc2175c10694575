// How many descriptors the process may still open.
#pragma once

#include <cstdint>

namespace tagwriter {

/// Requests that ask for no change leave a descriptor open, until there are none left.
class FreeDescriptors {
 public:
  /// Reads the limit of this process, once.
  FreeDescriptors();

  /// Whether fewer than `count` are left. `fd` is any open descriptor, and stays as it is.
  bool areFewerThan(std::uint64_t count, int fd) const;

 private:
  std::uint64_t limit_;
};

}  // namespace tagwriter
