#include <mimalloc.h>

#include "service/linux/allocator.h"

namespace tagwriter {

void setUpAllocator() {
  mi_option_set(TAGWRITER_MIMALLOC_DELAY, 0);
}

}  // namespace tagwriter
