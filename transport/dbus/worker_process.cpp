#include "transport/dbus/worker_process.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <system_error>
#include <utility>

#include "transport/dbus/peer_connection.h"
#include "transport/dbus/stall_clock.h"

extern char** environ;

namespace tagwriter::dbus {
namespace {

namespace fs = std::filesystem;

constexpr int kWorkerFd = 3;

/// A process that has been hung up on exits within milliseconds of its last request.
constexpr std::chrono::seconds kExitLimit(4);
/// What a killed process may need to be gone.
constexpr std::chrono::milliseconds kKillLimit(500);
constexpr std::chrono::milliseconds kLookAgain(50);

/// What the new process inherits: the standard streams, with `log` as standard error unless it is
/// negative, and its socket as descriptor kWorkerFd.
class SpawnPlan {
 public:
  SpawnPlan(int socket, int log) {
    ::posix_spawn_file_actions_init(&actions_);
    // First, because it may have the number kWorkerFd.
    if (log >= 0) ::posix_spawn_file_actions_adddup2(&actions_, log, STDERR_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions_, socket, kWorkerFd);
    // Not the player's descriptors that lack close-on-exec.
    ::posix_spawn_file_actions_addclosefrom_np(&actions_, kWorkerFd + 1);
    ::posix_spawnattr_init(&attributes_);
    // A separate process group: Ctrl-C goes to the player only, which finishes the current file.
    ::posix_spawnattr_setflags(
        &attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    ::posix_spawnattr_setpgroup(&attributes_, 0);
    // The worker can be terminated even if we block or ignore signals. Resetting all signals takes
    // less time: posix_spawn would first ask for the handler of each signal left out.
    sigset_t signals;
    sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes_, &signals);
    sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes_, &signals);
  }
  ~SpawnPlan() {
    ::posix_spawnattr_destroy(&attributes_);
    ::posix_spawn_file_actions_destroy(&actions_);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;

  /// Returns 0 or an error number.
  int run(const std::string& program, pid_t& pid) const {
    std::string name = fs::path(program).filename();
    std::string socketOption = "--fd=" + std::to_string(kWorkerFd);
    char* arguments[] = {name.data(), socketOption.data(), nullptr};
    return ::posix_spawn(&pid, program.c_str(), &actions_, &attributes_, arguments, environ);
  }

 private:
  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
};

/// The running program's directory, or empty.
fs::path programDirectory() {
  std::error_code error;
  return fs::read_symlink("/proc/self/exe", error).parent_path();
}

/// The directory of the shared library that contains this code, or empty. When linked statically,
/// dladdr reports argv[0], which may be anything: only an absolute path is used.
fs::path libraryDirectory() {
  static constexpr char kInThisFile = 0;
  Dl_info file = {};
  if (::dladdr(&kInThisFile, &file) == 0) return {};
  std::error_code error;
  const fs::path name = file.dli_fname;
  return name.is_absolute() ? fs::canonical(name, error).parent_path() : fs::path();
}

/// The first of the programs with that name that can be run, or empty.
std::string findIn(std::initializer_list<fs::path> directories, const char* name) {
  for (const fs::path& directory : directories) {
    const fs::path candidate = (directory / name).lexically_normal();
    // An unknown directory leaves a relative path, which must not resolve against the current
    // directory.
    if (candidate.is_absolute() && ::access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return {};
}

}  // namespace

std::string findWorkerProgram(const char* name) {
  const fs::path program = programDirectory();
  std::string found = findIn({program, program / TAGWRITER_LIBEXEC_FROM_BIN}, name);
  if (!found.empty()) return found;  // finding the library's directory takes longer
  return findIn({libraryDirectory() / TAGWRITER_LIBEXEC_FROM_LIB, TAGWRITER_LIBEXECDIR,
                 "/usr/libexec/tagwriter"},
                name);
}

std::optional<WorkerProcess> WorkerProcess::start(const std::string& program, UniqueFd& socket,
                                                  std::string& error, int log) {
  SocketPair sockets = makeSocketPair();
  if (!sockets.theirs) {
    error = std::strerror(errno);
    return std::nullopt;
  }
  // dup2 onto the same number would keep close-on-exec, so pick a number other than kWorkerFd.
  const UniqueFd theirs(::fcntl(sockets.theirs.get(), F_DUPFD_CLOEXEC, kWorkerFd + 1));
  if (!theirs) {
    error = std::strerror(errno);
    return std::nullopt;
  }
  pid_t pid = -1;
  const int r = SpawnPlan(theirs.get(), log).run(program, pid);
  if (r != 0) {
    error = program + ": " + std::strerror(r);
    return std::nullopt;
  }
  socket = std::move(sockets.ours);
  return WorkerProcess(pid);
}

WorkerProcess::WorkerProcess(pid_t pid)
    : pid_(pid), handle_(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0))) {}

WorkerProcess::WorkerProcess(WorkerProcess&& other) noexcept
    : pid_(std::exchange(other.pid_, -1)),
      isKilled_(other.isKilled_),
      handle_(std::move(other.handle_)) {}

void WorkerProcess::kill() {
  if (pid_ > 0) ::kill(pid_, SIGKILL);
  isKilled_ = true;
}

bool WorkerProcess::exitsWithin(std::chrono::milliseconds limit) const {
  pollfd process = {handle_.get(), POLLIN, 0};
  ::poll(&process, 1, static_cast<int>(limit.count()));  // without a handle, it only waits
  return ::waitpid(pid_, nullptr, WNOHANG) != 0;
}

WorkerProcess::~WorkerProcess() {
  if (pid_ <= 0) return;
  StallClock clock(pid_);
  while (!isKilled_) {
    if (exitsWithin(kLookAgain)) return;
    if (clock.stalledFor() >= kExitLimit) kill();
  }
  exitsWithin(kKillLimit);
}

}  // namespace tagwriter::dbus
