// Ctrl-C lets the file in hand be finished.
#pragma once

namespace tagwriter {

/// From its construction on, the first SIGINT only asks for an end; a second one ends the process.
/// The signal is taken by a thread of its own, so that no call in another thread is broken off. One
/// object a process.
class Interruption {
 public:
  Interruption();

  /// Whether the user has asked for an end.
  bool requested() const;
};

}  // namespace tagwriter
