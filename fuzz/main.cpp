// The functions that libFuzzer calls. The names are its own.
// NOLINTBEGIN(readability-identifier-naming)
#include "fuzz/target.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  tagwriter::fuzz::setUp();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tagwriter::fuzz::run({data, size});
  return 0;
}
// NOLINTEND(readability-identifier-naming)
