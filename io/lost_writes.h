// Counts failed writes, which TagLib never hears of: its streams cannot report them.
#pragma once

#include <cstdint>

namespace tagwriter {

/// How many times since the start of the process a stream failed to write, or to read bytes that it
/// was moving: a full disk, a quota, a limit on file sizes, a bad sector.
std::uint64_t lostWrites();

/// Counts one more. May be called from several threads.
void noteLostWrite();

}  // namespace tagwriter
