#include "bus/confine_front.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include <sstream>

#include "base/unique_fd.h"

namespace tagwriter::dbus {
namespace {

// What the headers of older systems lack.
constexpr std::uint64_t kFsRefer = 1 << 13;
constexpr std::uint64_t kFsTruncate = 1 << 14;
constexpr std::uint64_t kFsIoctlDev = 1 << 15;
constexpr std::uint64_t kNetBindTcp = 1 << 0;
constexpr std::uint64_t kNetConnectTcp = 1 << 1;
constexpr std::uint64_t kScopeAbstractSocket = 1 << 0;
constexpr std::uint64_t kScopeSignal = 1 << 1;
struct RulesetAttributes {
  std::uint64_t files;
  std::uint64_t network;
  std::uint64_t scopes;
};

/// All that version `version` of Landlock can forbid. What it does not know must be 0.
RulesetAttributes everythingOf(long version) {
  RulesetAttributes rights{(LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1, 0, 0};
  if (version >= 2) rights.files |= kFsRefer;
  if (version >= 3) rights.files |= kFsTruncate;
  if (version >= 4) rights.network = kNetBindTcp | kNetConnectTcp;
  if (version >= 5) rights.files |= kFsIoctlDev;
  if (version >= 6) rights.scopes = kScopeAbstractSocket | kScopeSignal;
  return rights;
}

/// Lets programs below `path` be started and files be read. A missing path needs no rule.
int allow(int ruleset, const char* path) {
  const UniqueFd directory(::open(path, O_PATH | O_CLOEXEC));
  struct stat status {};
  if (!directory || ::fstat(directory.get(), &status) != 0) return 0;
  landlock_path_beneath_attr rule{};
  rule.allowed_access = LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE;
  if (S_ISDIR(status.st_mode)) rule.allowed_access |= LANDLOCK_ACCESS_FS_READ_DIR;
  rule.parent_fd = directory.get();
  const long r = ::syscall(SYS_landlock_add_rule, ruleset, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
  return r < 0 ? -errno : 0;
}

int allowStartOf(int ruleset, const std::string& program) {
  // Its directory, because an update may replace the file.
  int r = allow(ruleset, program.substr(0, program.rfind('/') + 1).c_str());
  // Peers may ask for the machine's ID; see org.freedesktop.DBus.Peer.
  for (const char* path :
       {"/usr", "/lib", "/lib32", "/lib64", "/etc/ld.so.cache", "/dev/null", "/etc/machine-id"}) {
    if (r >= 0) r = allow(ruleset, path);
  }
#ifdef __SANITIZE_ADDRESS__  // which reads how its own process is laid out
  if (r >= 0) r = allow(ruleset, "/proc");
#endif
  if (const char* libraries = std::getenv("LD_LIBRARY_PATH")) {
    std::istringstream paths(libraries);
    for (std::string path; r >= 0 && std::getline(paths, path, ':');) {
      if (!path.empty()) r = allow(ruleset, path.c_str());
    }
  }
  return r;
}

}  // namespace

int confineFront(const std::string& workerProgram) {
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return -errno;
  const long version =
      ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
  if (version < 1) return 0;
  const RulesetAttributes rights = everythingOf(version);
  const UniqueFd ruleset(
      static_cast<int>(::syscall(SYS_landlock_create_ruleset, &rights, sizeof(rights), 0)));
  if (!ruleset) return -errno;
  const int r = allowStartOf(ruleset.get(), workerProgram);
  if (r < 0) return r;
  return ::syscall(SYS_landlock_restrict_self, ruleset.get(), 0) < 0 ? -errno : 0;
}

}  // namespace tagwriter::dbus
