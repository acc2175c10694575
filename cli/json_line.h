// JSON output, one object per line.
#pragma once

#include <iostream>
#include <nlohmann/json.hpp>

namespace tagwriter {

/// Prints `object` on one line. Invalid UTF-8, as in some paths, becomes U+FFFD.
inline void printJson(const nlohmann::json& object) {
  std::cout << object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << std::endl;
}

}  // namespace tagwriter
