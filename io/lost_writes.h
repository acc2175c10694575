// Counts failures that may have left a file damaged, because TagLib's streams cannot report them.
#pragma once

#include <cstdint>

namespace tagwriter {

/// How many such failures there have been since the start of the process: a read or write that
/// failed after part of a file had been overwritten, a truncation, or closing a file.
std::uint64_t lostWrites();

/// Counts one more. May be called from several threads.
void noteLostWrite();

}  // namespace tagwriter
