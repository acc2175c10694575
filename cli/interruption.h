// Ctrl-C lets the file in hand be finished.
#pragma once

namespace tagwriter {

/// From its construction on, the first SIGINT, SIGTERM or SIGHUP only asks for an end; a second one
/// ends the process. What the process was started to ignore it goes on ignoring. The signals are
/// taken by a thread of its own, so that no call in another thread is broken off. One object a
/// process.
class Interruption {
 public:
  Interruption();

  /// Whether the user has asked for an end.
  bool requested() const;
};

}  // namespace tagwriter
