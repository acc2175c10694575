// Landlock: access control that a process imposes on itself.
#pragma once

#include "base/unique_fd.h"

namespace tagwriter::confinement {

/// A ruleset that gives up every right that the running kernel's Landlock knows: to open, change or
/// run any file, to bind and connect TCP sockets, to connect to abstract sockets and send signals
/// outside this process. Rules may be added to it. Empty, with errno set, where the kernel has no
/// Landlock.
UniqueFd createLandlockRuleset();

/// Gives up what `ruleset` says. Open descriptors stay as they are. The process must have given up
/// new privileges. Returns false, with errno set, on failure.
bool restrictTo(const UniqueFd& ruleset);

}  // namespace tagwriter::confinement
