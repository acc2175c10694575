// Faults in the system calls that reach the edited file. The program is linked so that these calls
// pass through here (--wrap); calls on other files are left alone.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace tagwriter::test {

enum class Call : std::uint8_t { kRead, kWrite, kReserve, kTruncate, kFlush, kClose };

enum class Action {
  kNone,        ///< the calls are only recorded
  kPretend,     ///< what would change the file succeeds and does nothing
  kFail,        ///< the call fails
  kFailHalf,    ///< a write takes half of the bytes, and the next write fails
  kFindEnd,     ///< a read finds the end of the file
  kDie,         ///< the process ends before the call
  kDieHalfway,  ///< the process ends after a write of half of the bytes
};

/// What happens to the `nth` call, counted from 1.
struct Fault {
  Action action = Action::kNone;
  std::optional<Call> call = {};  ///< which calls are counted; nullopt: all of them
  unsigned nth = 1;
  bool fromThenOn = false;  ///< the later ones fail too
  int error = EIO;          ///< of the calls that fail
  bool canReserve = true;   ///< whether the file system supports reservations
  bool canTruncate = true;  ///< if not, every truncation fails, too
};

/// The exit status of a process that ended at a fault.
inline constexpr int kKilledStatus = 42;

/// What a process did, in memory that it shares with its parent.
struct Trace {
  static constexpr std::size_t kMaxCalls = 4096;

  std::size_t count = 0;
  Call calls[kMaxCalls] = {};
  bool hit = false;              ///< the fault has happened
  bool oldBytesWritten = false;  ///< something was written before the file's old end
  bool oldBytesWrittenBeforeHit = false;
  // The reply; absent when the process has died.
  bool replied = false;
  bool result = false;
  bool incomplete = false;
};

/// From now on `fault` applies to the file `fd`, and its calls are recorded in `trace`.
void startFault(int fd, const Fault& fault, Trace& trace);
/// From now on all calls are made as they are.
void endFault();

}  // namespace tagwriter::test
