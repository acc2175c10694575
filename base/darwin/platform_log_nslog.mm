#import <Foundation/Foundation.h>

#include "base/platform_log.h"

namespace tagwriter {

void writeToPlatformLog(const std::string& line) {
  NSLog(@"%s", line.c_str());
}

}  // namespace tagwriter
