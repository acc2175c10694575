// The ways out that a process may try.
#pragma once

#include <sys/types.h>

#include <span>

namespace tagwriter::test {

/// What the process has before it is confined.
struct Handed {
  int file;       ///< open for reading and writing
  int directory;  ///< the one that holds the file
  int socket;     ///< of a pair
  int unbound;    ///< a local datagram socket
  pid_t parent;
};

struct Attempt {
  const char* name;
  long (*run)(const Handed& handed);  ///< returns -1, with errno set, if the system refuses
};

/// No confined process may succeed in these.
std::span<const Attempt> attempts();

/// What a process does that only reads files, and what one does besides that edits them.
std::span<const Attempt> reading();
std::span<const Attempt> editing();

}  // namespace tagwriter::test
