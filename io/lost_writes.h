// Writes that the tag library never hears of: its streams cannot report that one has failed.
#pragma once

#include <cstdint>

namespace tagwriter {

/// How many times in the life of the process a stream could not write (or, while it moved bytes,
/// read) what it was to write: a full disk, a quota, a limit on the size of files, a bad sector.
std::uint64_t lostWrites();

/// Counts one more. May be called from several threads.
void noteLostWrite();

}  // namespace tagwriter
