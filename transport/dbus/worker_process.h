// Finds tagwriterd or tagreaderd, starts it on a socketpair and waits for it.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

#include "base/unique_fd.h"

namespace tagwriter::dbus {

/// The service, which writes.
inline constexpr char kWriterProgram[] = "tagwriterd";
/// The program that reads for the client library.
inline constexpr char kReaderProgram[] = "tagreaderd";

/// The absolute path of the worker program `name`: next to the running program, or in the libexec
/// directory of the installation, which may have been moved. Empty if it is in neither place.
std::string findWorkerProgram(const char* name);

/// A running worker. It exits when the other end of its socket is closed.
class WorkerProcess {
 public:
  /// Starts `program` with one end of a new socketpair; the caller gets the other end in `socket`.
  /// `log`, which is borrowed, becomes its standard error; if negative, it has that of this
  /// process. Returns nullopt on failure, with a message in `error`.
  static std::optional<WorkerProcess> start(const std::string& program, UniqueFd& socket,
                                            std::string& error, int log = -1);

  WorkerProcess(WorkerProcess&& other) noexcept;
  WorkerProcess& operator=(WorkerProcess&&) = delete;
  /// Waits for the process to exit: close its socket first. A process that makes no progress for 4
  /// seconds is killed. One that cannot be killed, because it is stuck in the kernel, is left to
  /// itself.
  ~WorkerProcess();

  /// Sends SIGKILL, for a process that may not exit otherwise. The destructor then waits for half a
  /// second at most.
  void kill();

  /// The process ID. Only this object may wait for the process.
  pid_t pid() const { return pid_; }

 private:
  explicit WorkerProcess(pid_t pid);
  bool exitsWithin(std::chrono::milliseconds limit) const;

  pid_t pid_;
  bool isKilled_ = false;
  UniqueFd handle_;  ///< readable once the process has exited; empty if the system has no pidfds
};

}  // namespace tagwriter::dbus
