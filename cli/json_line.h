// One JSON object a line, for other programs.
#pragma once

#include <iostream>
#include <nlohmann/json.hpp>

namespace tagwriter {

/// Prints `object` on a line of its own. Bytes of a path that are not UTF-8 come out as U+FFFD.
inline void printJson(const nlohmann::json& object) {
  std::cout << object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << std::endl;
}

}  // namespace tagwriter
