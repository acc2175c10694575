// What the service said while a test ran.
#pragma once

#include <string>

#include "base/log.h"

namespace tagwriter::test {

/// Catches all diagnostics for its life.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  /// Everything so far, to the letter.
  const std::string& text() const { return text_; }

 private:
  std::string text_;
  LogSink previous_;
};

}  // namespace tagwriter::test
