// Landlock: access control that a process imposes on itself.
#pragma once

namespace tagwriter::confinement {

/// Gives up every right that the running kernel's Landlock knows: to open, change or run any file,
/// to bind and connect TCP sockets, to connect to abstract sockets and send signals outside this
/// process. Open descriptors stay as they are. The process must have given up new privileges.
/// Returns false, with errno set, where the kernel has no Landlock.
bool giveUpLandlockRights();

}  // namespace tagwriter::confinement
