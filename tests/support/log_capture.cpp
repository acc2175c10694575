#include "tests/support/log_capture.h"

namespace tagwriter::test {

LogCapture::LogCapture()
    : previous_(setLogSink([this](std::string_view text) { text_ += text; })) {}

LogCapture::~LogCapture() {
  setLogSink(previous_);
}

}  // namespace tagwriter::test
