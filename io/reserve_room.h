// Reserves room on the disk before it is needed. How that is done depends on the system.
#pragma once

#include <cstdint>

namespace tagwriter {

/// Reserves room for `size` bytes beyond the end of a file that is `length` bytes long, and does
/// not change its length. `fd` is borrowed and must be open for writing. Returns false if there is
/// no room or another error occurs; true also if the file system cannot reserve room.
bool reserveRoom(int fd, std::uint64_t length, std::uint64_t size);

}  // namespace tagwriter
