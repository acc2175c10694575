#include "service/linux/allocator.h"

namespace tagwriter {

void setUpAllocator() {}

}  // namespace tagwriter
