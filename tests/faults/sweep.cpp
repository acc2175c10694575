#include "tests/faults/sweep.h"

#include <sys/wait.h>

#include <algorithm>

namespace tagwriter::test {
namespace {

/// The circumstances of a request.
struct Setting {
  bool canReserve;
  bool playerTruncates;
};

constexpr Setting kSettings[] = {{true, false}, {false, false}, {true, true}, {false, true}};

/// A fault, and the kind that it belongs to.
struct Place {
  std::size_t kind;
  Fault fault;
};

bool kills(const Fault& fault) {
  return fault.action == Action::kDie || fault.action == Action::kDieHalfway;
}

/// All faults of this kind in a request that makes these calls.
std::vector<Place> placesOf(std::size_t index, const Setting& setting,
                            const std::vector<Call>& calls) {
  const FaultKind& kind = faultKinds()[index];
  if (setting.playerTruncates && kind.canTruncate && kind.call != Call::kTruncate) return {};
  if (!setting.canReserve && kind.call == Call::kReserve) return {};
  const auto count = static_cast<unsigned>(
      kind.call ? std::count(calls.begin(), calls.end(), *kind.call) : calls.size());
  std::vector<Place> places;
  for (unsigned nth = 1; nth <= count; ++nth) {
    Fault fault = {kind.action, kind.call, nth, false, kind.error};
    fault.canReserve = setting.canReserve;
    fault.canTruncate = kind.canTruncate;
    places.push_back({index, fault});
    fault.fromThenOn = true;
    if (!kills(fault)) places.push_back({index, fault});
  }
  return places;
}

/// The promise that was broken, or null.
const char* brokenPromise(const Fault& fault, const Attempt& attempt) {
  const bool wasKilled = WIFEXITED(attempt.status) && WEXITSTATUS(attempt.status) == kKilledStatus;
  if (kills(fault)) return wasKilled ? nullptr : "the process did not die as it should";
  if (!attempt.replied) return "the process died";
  const Outcome outcome = attempt.outcome;
  if (!attempt.result && outcome != Outcome::kBefore) return "false, but the file is not as before";
  if (attempt.result && !attempt.incomplete && outcome != Outcome::kWritten) {
    return "true, but the file is not as planned";
  }
  const bool isWhole = outcome == Outcome::kBefore || outcome == Outcome::kWritten;
  if (attempt.wasHit && !attempt.overwrote &&
      (outcome == Outcome::kDamaged || (fault.canTruncate && !isWhole))) {
    return "the file suffered although nothing had been overwritten";
  }
  return nullptr;
}

class Sweep {
 public:
  Sweep(std::vector<Finding>& findings, std::vector<std::string>& broken)
      : findings_(findings), broken_(broken) {}

  void run(const Sample& sample, const Edit& edit, Finding finding) {
    where_ = sample.name + ", " + edit.name + ": ";
    task_ = {sample.path, sample.bytes, "", edit.apply};
    if (edit.prepare) {
      task_.apply = edit.prepare;
      task_.before = bytesWithout({});
      task_.apply = edit.apply;
    }
    task_.planned = bytesWithout({});
    if (task_.planned == task_.before) return breaks("the edit changes nothing");
    for (const Setting& setting : kSettings) run(setting, finding);
  }

 private:
  void breaks(const std::string& how) { broken_.push_back(where_ + how); }

  /// The file after the edit without a fault.
  std::string bytesWithout(const Fault& fault) {
    const Attempt attempt = worker_.run(task_, {fault}).front();
    if (!attempt.replied || !attempt.result || attempt.incomplete) breaks("fails without a fault");
    return worker_.bytes();
  }

  void run(const Setting& setting, Finding finding) {
    task_.playerTruncates = setting.playerTruncates;
    if (bytesWithout({.canReserve = setting.canReserve}) != task_.planned) {
      breaks("without reservations something else is written");
    }
    const std::vector<Call> calls = worker_.calls();
    if (calls.size() == Trace::kMaxCalls) breaks("makes too many calls");
    if (!setting.canReserve && !std::count(calls.begin(), calls.end(), Call::kReserve)) return;
    if (worker_.run(task_, {{.action = Action::kPretend}}).front().outcome != Outcome::kBefore) {
      breaks("changes the file in a way that is not intercepted");
    }
    std::vector<Place> places;
    for (std::size_t kind = 0; kind < faultKinds().size(); ++kind) {
      const auto more = placesOf(kind, setting, calls);
      places.insert(places.end(), more.begin(), more.end());
    }
    run(places, finding);
  }

  void run(const std::vector<Place>& places, Finding finding) {
    std::vector<Fault> faults;
    for (const Place& place : places) faults.push_back(place.fault);
    const std::vector<Attempt> attempts = worker_.run(task_, faults);
    for (std::size_t i = 0; i < places.size(); ++i) {
      finding.kind = places[i].kind;
      finding.outcome = attempts[i].outcome;
      finding.reply = !attempts[i].replied     ? Reply::kNone
                      : attempts[i].incomplete ? Reply::kIncomplete
                      : attempts[i].result     ? Reply::kTrue
                                               : Reply::kFalse;
      findings_.push_back(finding);
      if (const char* promise = brokenPromise(faults[i], attempts[i])) {
        breaks(faultKinds()[finding.kind].name + ", call " + std::to_string(faults[i].nth) +
               (faults[i].fromThenOn ? " and later" : "") +
               (faults[i].canReserve ? "" : ", no reservations") + ": " + promise);
      }
    }
  }

  std::vector<Finding>& findings_;
  std::vector<std::string>& broken_;
  Worker worker_;
  Task task_;
  std::string where_;
};

}  // namespace

const std::vector<FaultKind>& faultKinds() {
  static const std::vector<FaultKind> kKinds = {
      {"A read fails", "reading", Action::kFail, Call::kRead},
      {"A read finds the file shorter", "reading", Action::kFindEnd, Call::kRead},
      {"No room can be reserved", "reserving", Action::kFail, Call::kReserve, ENOSPC},
      {"A write fails", "writing", Action::kFail, Call::kWrite, EIO},
      {"A write finds the disk full", "writing", Action::kFail, Call::kWrite, ENOSPC},
      {"A write stops halfway", "writing", Action::kFailHalf, Call::kWrite, EIO},
      {"A write fails, and every truncation", "writing", Action::kFail, Call::kWrite, EIO, false},
      {"Flushing fails", "flushing", Action::kFail, Call::kFlush},
      {"A truncation fails", "truncating", Action::kFail, Call::kTruncate},
      {"Closing fails", "closing", Action::kFail, Call::kClose},
      {"Killed between two calls", "killed", Action::kDie},
      {"Killed halfway through a write", "killed", Action::kDieHalfway, Call::kWrite},
  };
  return kKinds;
}

std::vector<Finding> sweep(const std::vector<Sample>& samples, const std::vector<Edit>& edits,
                           std::vector<std::string>& broken) {
  std::vector<Finding> findings;
  Sweep sweep(findings, broken);
  for (std::size_t sample = 0; sample < samples.size(); ++sample) {
    for (std::size_t edit = 0; edit < edits.size(); ++edit) {
      sweep.run(samples[sample], edits[edit], {sample, edit, 0, Reply::kNone, Outcome::kBefore});
    }
  }
  return findings;
}

}  // namespace tagwriter::test
