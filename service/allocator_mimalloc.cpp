#include <mimalloc.h>

#include "service/allocator.h"

namespace tagwriter {

void setUpAllocator() {
  mi_option_set(TAGWRITER_MIMALLOC_DELAY, 0);
}

}  // namespace tagwriter
