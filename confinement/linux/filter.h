// The filter of system calls.
#pragma once

#include "confinement/confine.h"

namespace tagwriter::confinement {

/// From now on, a system call outside the policy (policy.h) kills this process. It must have given
/// up new privileges. Returns false, with errno set, where the kernel has no such filters.
bool filterSystemCalls(FileAccess access);

}  // namespace tagwriter::confinement
