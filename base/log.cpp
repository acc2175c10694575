#include "base/log.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

#include "base/platform_log.h"

namespace tagwriter {
namespace {

LogSink& currentSink() {
  static LogSink sink;
  return sink;
}

std::string formatted(const char* format, std::va_list arguments) {
  std::va_list measuring;
  va_copy(measuring, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measuring);
  va_end(measuring);
  if (length < 0) return format;
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, arguments);
  text.pop_back();
  return text;
}

}  // namespace

LogSink setLogSink(LogSink sink) {
  return std::exchange(currentSink(), std::move(sink));
}

void logLine(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string line = formatted(format, arguments);
  va_end(arguments);
  if (const LogSink& sink = currentSink()) {
    sink(line + "\n");
  } else {
    writeToPlatformLog(line);
  }
}

void logText(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = formatted(format, arguments);
  va_end(arguments);
  if (const LogSink& sink = currentSink()) {
    sink(text);
  } else {
    std::fwrite(text.data(), 1, text.size(), stderr);
  }
}

}  // namespace tagwriter
