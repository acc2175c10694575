#include "cli/progress.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>

namespace tagwriter {
namespace {

constexpr std::size_t kFewFiles = 5;
constexpr std::size_t kBarWidth = 30;
constexpr char kClearLine[] = "\r\033[K";

}  // namespace

Progress::Progress(std::size_t files, bool enabled)
    : files_(files), enabled_(enabled && files > kFewFiles && ::isatty(STDERR_FILENO)) {}

Progress::~Progress() {
  hide();
}

void Progress::hide() {
  if (visible_) std::fputs(kClearLine, stderr);
  visible_ = false;
}

void Progress::show(std::size_t done) {
  if (!enabled_) return;
  const std::chrono::duration<double> elapsed = Clock::now() - start_;
  // The cursor returns to the first column, so that log lines of the service overwrite the bar.
  std::fprintf(stderr, "%s%s\r", kClearLine, progressText(done, files_, elapsed.count()).c_str());
  std::fflush(stderr);
  visible_ = true;
}

std::string progressText(std::size_t done, std::size_t files, double elapsed) {
  const std::size_t filled = files ? done * kBarWidth / files : kBarWidth;
  std::string text = "[" + std::string(filled, '#') + std::string(kBarWidth - filled, '-') + "] ";
  text += std::to_string(done) + "/" + std::to_string(files);
  if (done == 0 || elapsed <= 0) return text;

  const double rate = static_cast<double>(done) / elapsed;
  const long left = std::lround(static_cast<double>(files - done) / rate);
  char speed[64];
  std::snprintf(speed, sizeof speed, "  %.1f files/s  %ld:%02ld left", rate, left / 60, left % 60);
  return text + speed;
}

}  // namespace tagwriter
