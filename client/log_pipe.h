// What a private worker reports besides its replies.
#pragma once

#include <string>
#include <utility>

#include "base/unique_fd.h"
#include "transport/dbus/watch.h"

namespace tagwriter {

/// A pipe that is the standard error of a worker.
class LogPipe final : public dbus::Watch {
 public:
  /// Makes a new pipe, and returns the end for the worker. Empty on failure: the worker then has
  /// the standard error of this process.
  UniqueFd open();

  /// Takes what the worker has written since the last call, as it was written: at most 64 KiB, and
  /// what exceeds that is lost.
  std::string take();

  pollfd interest() const override { return {ours_.get(), POLLIN, 0}; }
  void handle() override;

 private:
  UniqueFd ours_;
  std::string text_;
};

}  // namespace tagwriter
