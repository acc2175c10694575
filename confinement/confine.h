// Gives up what a process needs no more once it parses files that strangers made.
#pragma once

namespace tagwriter {

/// What the process does with the files that it is handed.
enum class FileAccess {
  kRead,
  kEdit,  ///< reads and writes
};

/// Confines this process, for good: it can use the descriptors that it has and those that it
/// receives over its sockets, and opens, connects, starts and signals nothing. A process that tries
/// is killed, except that opening a file by its path fails with EACCES. It must have only one
/// thread, and be set up: parts of the system that were not used before may fail. Memory is
/// limited, and there are no core dumps.
///
/// Logs one line if the system cannot do all of this. Returns false, with errno set, if it cannot
/// confine a process at all; part of it may be in effect then.
bool confine(FileAccess access);

}  // namespace tagwriter
