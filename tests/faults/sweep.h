// Makes every edit again and again, with a fault at another place each time.
#pragma once

#include <string>
#include <vector>

#include "tests/faults/samples.h"
#include "tests/faults/system_calls.h"
#include "tests/faults/worker.h"

namespace tagwriter::test {

struct FaultKind {
  std::string name;
  std::string stage;  ///< what the service was doing
  Action action;
  std::optional<Call> call = {};
  int error = EIO;
  bool canTruncate = true;
};

/// All kinds of faults, in the order of the document.
const std::vector<FaultKind>& faultKinds();

enum class Reply { kTrue, kFalse, kIncomplete, kNone };

/// One request with one fault.
struct Finding {
  std::size_t sample, edit, kind;
  Reply reply;
  Outcome outcome;
};

/// Runs all of them. Appends a sentence to `broken` for each promise that is not kept.
std::vector<Finding> sweep(const std::vector<Sample>& samples, const std::vector<Edit>& edits,
                           std::vector<std::string>& broken);

}  // namespace tagwriter::test
