#include "base/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>
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
  char* text = nullptr;
  if (::vasprintf(&text, format, arguments) < 0) return format;
  const std::unique_ptr<char, void (*)(void*)> owner(text, std::free);
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
