// The details of an outcome, for the library only.
#pragma once

#include <cstddef>
#include <string>

#include "client/outcome.h"

namespace tagwriter {

struct Outcome::Details {
  std::string detail;
  std::size_t edit = 0;
  std::string log;
  bool touched = false;  ///< of a failure: whether the file may be other than before
};

}  // namespace tagwriter
