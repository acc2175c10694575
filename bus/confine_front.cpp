#include "bus/confine_front.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include <sstream>

#include "base/unique_fd.h"
#include "confinement/linux/landlock.h"

namespace tagwriter::dbus {
namespace {

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
  const UniqueFd ruleset = confinement::createLandlockRuleset();
  if (!ruleset) return errno == ENOSYS || errno == EOPNOTSUPP ? 0 : -errno;
  const int r = allowStartOf(ruleset.get(), workerProgram);
  if (r < 0) return r;
  return confinement::restrictTo(ruleset) ? 0 : -errno;
}

}  // namespace tagwriter::dbus
