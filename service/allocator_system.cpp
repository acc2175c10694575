#include "service/allocator.h"

namespace tagwriter {

void setUpAllocator() {}

}  // namespace tagwriter
