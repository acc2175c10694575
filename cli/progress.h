// Progress bar.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace tagwriter {

/// A progress bar on standard error: the number of files done, the speed and the time left. Shown
/// only on a terminal, and only for more than a few files.
class Progress {
 public:
  Progress(std::size_t files, bool enabled);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Erases the bar, so that something else can be printed.
  void hide();
  /// Shows the bar with `done` files done.
  void show(std::size_t done);

 private:
  using Clock = std::chrono::steady_clock;

  std::size_t files_;
  bool enabled_;
  bool visible_ = false;
  Clock::time_point start_ = Clock::now();
};

/// Returns the text of the bar, `elapsed` seconds after the start.
std::string progressText(std::size_t done, std::size_t files, double elapsed);

}  // namespace tagwriter
