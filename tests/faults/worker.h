// Requests with faults, in a process apart that may die.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/unique_fd.h"
#include "protocol/value_dictionary.h"
#include "tests/faults/system_calls.h"

namespace tagwriter::test {

/// What a file is after a request.
enum class Outcome {
  kBefore,          ///< as it was, byte for byte
  kBeforeAndMore,   ///< as it was, with more bytes at its end
  kWritten,         ///< as planned
  kWrittenAndMore,  ///< as planned, with old bytes at its end
  kDamaged,         ///< neither
};

/// An edit of one file.
struct Task {
  std::string path;  ///< never opened
  std::string before;
  std::string planned;  ///< what the file is after the edit; empty if that is not known yet
  std::function<void(ValueDictionary& request)> apply;  ///< adds the change to a request
  bool playerTruncates = false;
};

/// What happened to one request.
struct Attempt {
  Outcome outcome;
  // The reply. There is none if the process died.
  bool replied;
  bool result;
  bool incomplete;
  bool overwrote;  ///< bytes of the old file, before the fault happened
  bool wasHit;     ///< by the fault, and survived it
  int status;      ///< of the process if it died, as of wait(); otherwise 0
};

/// Makes requests as tagwriterd does, on a file in memory.
class Worker {
 public:
  Worker();
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// Makes the edit once with each fault, each time on the file as it was before.
  std::vector<Attempt> run(const Task& task, const std::vector<Fault>& faults);

  /// The file after the last request.
  std::string bytes() const;
  /// The system calls of the last request.
  std::vector<Call> calls() const { return {trace_->calls, trace_->calls + trace_->count}; }

 private:
  void runFrom(std::size_t first, const Task& task, const std::vector<Fault>& faults, int results);
  void answer(const Task& task, const Fault& fault);
  Attempt attempt(const Task& task, int status) const;

  UniqueFd file_;
  Trace* trace_;  ///< shared by both processes
};

}  // namespace tagwriter::test
