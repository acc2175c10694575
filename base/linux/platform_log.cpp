#include "base/platform_log.h"

#include <cstdio>

namespace tagwriter {

void writeToPlatformLog(const std::string& line) {
  const std::string text = line + "\n";
  // One call, so that lines of several threads or processes are not interleaved.
  std::fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace tagwriter
