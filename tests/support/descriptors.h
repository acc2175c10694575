// The process's open descriptors.
#pragma once

#include <cstddef>

namespace tagwriter::test {

/// How many descriptors this process has open.
std::size_t countDescriptors();

/// Whether `fd` is open.
bool isOpen(int fd);

}  // namespace tagwriter::test
