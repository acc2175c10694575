#include <mimalloc.h>

#include <cerrno>
#include <new>

#include "service/linux/allocator.h"

namespace tagwriter {
namespace {

/// mimalloc would end the process, as it is written in C and cannot throw. What is thrown through
/// sd-bus, which is, too, still ends it.
void onError(int error, void*) {
  if (error == ENOMEM) throw std::bad_alloc();
}

}  // namespace

void setUpAllocator() {
  mi_option_set(TAGWRITER_MIMALLOC_DELAY, 0);
  mi_register_error(onError, nullptr);
}

}  // namespace tagwriter
