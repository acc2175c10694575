// The allocator of the process; which one, the build chooses.
#pragma once

namespace tagwriter {

/// Makes the allocator give freed memory back at once: a cover is copied several times on its way
/// into a file, and the copies would add up. To be called before any large allocation.
void setUpAllocator();

}  // namespace tagwriter
