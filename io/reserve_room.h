// Room on the disk before it is needed. How that is done depends on the system.
#pragma once

#include <cstdint>

namespace tagwriter {

/// Reserves room for `size` bytes behind the end of a file that is `length` bytes long and stays
/// so. `fd` is borrowed and must be open for writing. Returns false when there is no room; true
/// also where the file system cannot reserve any.
bool reserveRoom(int fd, std::uint64_t length, std::uint64_t size);

}  // namespace tagwriter
