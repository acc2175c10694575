#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

#include "tests/transport/xpc/runtime/runtime.h"

namespace {

std::mutex mutex;
std::vector<std::string> lines;

}  // namespace

/// Replaces that of the C library.
extern "C" void syslog(int /*priority*/, const char* format, ...) {
  char line[1024];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  const std::lock_guard lock(mutex);
  lines.emplace_back(line);
}

namespace tagwriter::test::runtime {

std::vector<std::string> takeSystemLog() {
  const std::lock_guard lock(mutex);
  return std::exchange(lines, {});
}

}  // namespace tagwriter::test::runtime
