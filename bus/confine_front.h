// Gives up what the front does not need.
#pragma once

#include <string>

namespace tagwriter::dbus {

/// Confines this process and those that it starts, for good: no new privileges, no files but those
/// that the start of `workerProgram` reads, no TCP, and no signals to other processes. The files
/// are those next to the program, below /usr and /lib, and in LD_LIBRARY_PATH, to be read and
/// executed. Descriptors that are received can be used as before, and so can the connection to the
/// bus, over which a front that was taken over could ask others to do more. Gives as much of this
/// as the kernel can: Landlock has been there since Linux 5.13, and all of it since 6.12. Returns
/// 0, or a negative errno if the kernel refused what it can do.
int confineFront(const std::string& workerProgram);

}  // namespace tagwriter::dbus
