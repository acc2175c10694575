// Counts failed writes, because TagLib's streams cannot report them.
#pragma once

#include <cstdint>

namespace tagwriter {

/// How many times since the start of the process a stream that is open for update failed to write
/// or read: because of a full disk, a quota, a file size limit or a bad sector.
std::uint64_t lostWrites();

/// Counts one more. May be called from several threads.
void noteLostWrite();

}  // namespace tagwriter
