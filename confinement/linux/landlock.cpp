#include "confinement/linux/landlock.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

namespace tagwriter::confinement {
namespace {

// From linux/landlock.h, of which older systems have an older version.
struct Ruleset {
  std::uint64_t files;
  std::uint64_t network;
  std::uint64_t scoped;
};
constexpr unsigned kReturnVersion = 1;  // LANDLOCK_CREATE_RULESET_VERSION

/// The first `count` rights of a kind.
constexpr std::uint64_t rights(unsigned count) {
  return (std::uint64_t{1} << count) - 1;
}

/// All rights of a version of Landlock, and of those after the last that we know.
Ruleset everythingIn(long version) {
  Ruleset all = {};
  all.files = rights(version >= 5 ? 16 : version >= 3 ? 15 : version >= 2 ? 14 : 13);
  if (version >= 4) all.network = rights(2);
  if (version >= 6) all.scoped = rights(2);
  return all;
}

}  // namespace

UniqueFd createLandlockRuleset() {
  const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, kReturnVersion);
  if (version < 0) return {};
  const Ruleset all = everythingIn(version);
  return UniqueFd(static_cast<int>(::syscall(SYS_landlock_create_ruleset, &all, sizeof all, 0)));
}

bool restrictTo(const UniqueFd& ruleset) {
  return ::syscall(SYS_landlock_restrict_self, ruleset.get(), 0) == 0;
}

}  // namespace tagwriter::confinement
