// Whether there is room for what an edit adds to a file.
#pragma once

#include <cstdint>

#include "client/outcome.h"

namespace tagwriter {

/// Asks, after a refusal, whether a file next to the open file `fd` (borrowed) could take `size`
/// bytes and what TagLib puts around them. Fails with kNoSpace, with the reason, only if the file
/// system says that it could not: the disk is full, a quota is used up, or the file would exceed
/// the size limit of this process. Leaves no trace.
Outcome checkRoom(int fd, std::uint64_t size);

}  // namespace tagwriter
