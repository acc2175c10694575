#include <syslog.h>

#include "base/platform_log.h"

namespace tagwriter {

void writeToPlatformLog(const std::string& line) {
  ::syslog(LOG_NOTICE, "%s", line.c_str());
}

}  // namespace tagwriter
