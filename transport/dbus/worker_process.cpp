#include "transport/dbus/worker_process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "transport/dbus/peer_connection.h"

extern char** environ;

namespace tagwriter::dbus {
namespace {

constexpr char kProgram[] = "tagwriterd";
constexpr int kWorkerFd = 3;

/// What the new process inherits: the standard streams and, at kWorkerFd, its socket. Everything
/// else of ours is close-on-exec.
class SpawnPlan {
 public:
  explicit SpawnPlan(int socket) {
    ::posix_spawn_file_actions_init(&actions_);
    ::posix_spawn_file_actions_adddup2(&actions_, socket, kWorkerFd);
    ::posix_spawnattr_init(&attributes_);
    // A group of its own: Ctrl-C at a terminal is for the player, who finishes the file in hand.
    ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
    ::posix_spawnattr_setpgroup(&attributes_, 0);
    // And whatever signals we block, the worker can be ended.
    sigset_t none;
    sigemptyset(&none);
    ::posix_spawnattr_setsigmask(&attributes_, &none);
  }
  ~SpawnPlan() {
    ::posix_spawnattr_destroy(&attributes_);
    ::posix_spawn_file_actions_destroy(&actions_);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;

  /// Returns 0 or an error number.
  int run(const std::string& program, pid_t& pid) const {
    std::string name = kProgram;
    std::string socketOption = "--fd=" + std::to_string(kWorkerFd);
    char* arguments[] = {name.data(), socketOption.data(), nullptr};
    return ::posix_spawn(&pid, program.c_str(), &actions_, &attributes_, arguments, environ);
  }

 private:
  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
};

}  // namespace

std::string findWorkerProgram() {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path self = fs::read_symlink("/proc/self/exe", error);
  for (const fs::path& folder : {self.parent_path(), fs::path(TAGWRITER_LIBEXECDIR)}) {
    const fs::path candidate = folder / kProgram;
    if (::access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return {};
}

std::optional<WorkerProcess> WorkerProcess::start(const std::string& program, UniqueFd& socket,
                                                  std::string& error) {
  SocketPair sockets = makeSocketPair();
  // dup2 of a descriptor onto itself would leave it close-on-exec, so it must not be kWorkerFd.
  const UniqueFd theirs(::fcntl(sockets.theirs.get(), F_DUPFD_CLOEXEC, kWorkerFd + 1));
  if (!theirs) {
    error = std::strerror(errno);
    return std::nullopt;
  }
  pid_t pid = -1;
  const int r = SpawnPlan(theirs.get()).run(program, pid);
  if (r != 0) {
    error = program + ": " + std::strerror(r);
    return std::nullopt;
  }
  socket = std::move(sockets.ours);
  return WorkerProcess(pid);
}

WorkerProcess::WorkerProcess(WorkerProcess&& other) noexcept
    : pid_(std::exchange(other.pid_, -1)) {}

WorkerProcess::~WorkerProcess() {
  if (pid_ <= 0) return;
  while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace tagwriter::dbus
