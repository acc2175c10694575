// The platform's log. The build chooses the implementation.
#pragma once

#include <string>

namespace tagwriter {

/// Writes one line to the platform's log. `line` does not end with a newline.
void writeToPlatformLog(const std::string& line);

}  // namespace tagwriter
