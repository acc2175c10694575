// What the two worker programs, tagwriterd and tagreaderd, have in common.
#pragma once

#include <functional>

#include "base/unique_fd.h"
#include "confinement/confine.h"

namespace tagwriter {

/// A program that serves one player on an inherited socket.
struct WorkerProgram {
  const char* name;
  const char* purpose;  ///< for --help: sentences, with line breaks
  FileAccess access;    ///< what it does with the files; the process is confined to that
  /// Sets up what can no longer be set up once the process is confined.
  std::function<void()> prepare;
  /// Serves the player until it hangs up, or until the reply of which `isLast` says so. Returns 0
  /// then, and a negative errno when the connection failed.
  std::function<int(UniqueFd socket, const std::function<bool()>& isLast)> serve;
};

/// The main function of `program`: parses the command line, checks the socket, sets up and confines
/// the process, and serves until the player has hung up or few descriptors are left. Returns the
/// exit code: 0 then, 1 when the connection failed or the process cannot be confined. Exits with 2
/// on a usage error.
int workerMain(int argc, char** argv, const WorkerProgram& program);

}  // namespace tagwriter
