// Wrong usage.
#pragma once

#include <stdexcept>

namespace tagwriter {

/// Something on the command line, or in a file that it names as input, is wrong. The message is for
/// the user; nothing has been written.
class UsageError : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
};

}  // namespace tagwriter
