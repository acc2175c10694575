// Runs each attempt in a process of its own.
#pragma once

#include "tests/confinement/attempts.h"

namespace tagwriter::test {

/// Creates a directory with a file, sockets, and what else Handed names. The process is in the
/// directory from then on. Exits on failure.
Handed handOver();

/// Removes the directory.
void cleanUp();

/// Runs prepare() and then the attempt. Returns the wait status of the process: it exits with 0 if
/// the attempt succeeds, otherwise with its errno.
int statusOf(const Attempt& attempt, const Handed& handed, bool (*prepare)());

/// Prints one line on the attempt and what came of it.
void print(const char* name, int status);

}  // namespace tagwriter::test
