// How far it has come, on a terminal.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace tagwriter {

/// A line on standard error that says how many files are done, how fast and how long it will still
/// take. It shows itself only on a terminal, and only for more than a few files.
class Progress {
 public:
  Progress(std::size_t files, bool wanted);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Takes the line away, so that something else can be printed.
  void hide();
  /// Shows that `done` files are done.
  void show(std::size_t done);

 private:
  using Clock = std::chrono::steady_clock;

  std::size_t files_;
  bool enabled_;
  bool visible_ = false;
  Clock::time_point start_ = Clock::now();
};

/// The text of the line, `elapsed` seconds after the start.
std::string progressText(std::size_t done, std::size_t files, double elapsed);

}  // namespace tagwriter
