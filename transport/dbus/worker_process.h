// The player's own tagwriterd: found, started on a socketpair, waited for.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "base/unique_fd.h"

namespace tagwriter::dbus {

/// Where the service's program is: beside the running program, or in the libexec directory of the
/// installation, which may have been moved. Empty when it is in neither place.
std::string findWorkerProgram();

/// A running tagwriterd. It leaves by itself when the other end of its socket closes.
class WorkerProcess {
 public:
  /// Starts `program` with one end of a new socketpair and puts the other end into `socket`.
  /// Returns nothing on failure, with a text in `error`.
  static std::optional<WorkerProcess> start(const std::string& program, UniqueFd& socket,
                                            std::string& error);

  WorkerProcess(WorkerProcess&& other) noexcept;
  WorkerProcess& operator=(WorkerProcess&&) = delete;
  /// Waits for the process to end: close its socket first.
  ~WorkerProcess();

  /// Ends it at once, for one that may not leave by itself.
  void kill() const;

  /// Its number; the process is waited for by this object only.
  pid_t pid() const { return pid_; }

 private:
  explicit WorkerProcess(pid_t pid) : pid_(pid) {}
  pid_t pid_;
};

}  // namespace tagwriter::dbus
