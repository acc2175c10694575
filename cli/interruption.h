// Ctrl-C stops after the current file.
#pragma once

namespace tagwriter {

/// Once constructed, the first SIGINT, SIGTERM or SIGHUP only requests a stop; the second one kills
/// the process. Signals ignored at start stay ignored. At most one object per process.
class Interruption {
 public:
  Interruption();

  /// Whether a stop was requested.
  bool requested() const;
};

}  // namespace tagwriter
