#include "cli/report.h"

#include <iostream>

#include "cli/json_line.h"
#include "cli/printable.h"

namespace tagwriter {
namespace {

/// The message of libtagwriter, with a hint at the option to use.
std::string messageOf(const Outcome& outcome) {
  const bool hasPicture = outcome.status() == Status::kHasPicture;
  return outcome.message() + (hasPicture ? " (use --replace)" : "");
}

}  // namespace

void Report::planned(const std::string& path, const std::string& edit,
                     const std::string& description) {
  if (json_) {
    nlohmann::json line = jsonOfFile(path);
    line.update({{"edit", edit}, {"result", "planned"}, {"what", description}});
    printJson(line);
  } else if (!quiet_) {
    std::cout << printable(path + ": " + description) << '\n';
  }
}

void Report::done(const std::string& path, const std::string& edit, const Outcome& outcome) {
  if (!outcome) {
    anyFailed_ = true;
    printError(path + ": " + edit + ": " + messageOf(outcome));
  }
  if (!json_) return;
  nlohmann::json line = jsonOfFile(path);
  line["edit"] = edit;
  line["result"] = outcome ? "written" : "failed";
  if (!outcome) line["error"] = messageOf(outcome);
  hideProgress();
  printJson(line);
}

void Report::extracted(const std::string& path, const std::string& target,
                       const std::string& role) {
  if (json_) {
    nlohmann::json line = jsonOfFile(path);
    setPath(line, "picture", target);
    line.update({{"role", role}, {"result", "extracted"}});
    printJson(line);
  } else if (!quiet_) {
    std::cout << printable(target) << '\n';
  }
}

void Report::failed(const std::string& path, const std::string& reason) {
  anyFailed_ = true;
  printError(path + ": " + reason);
  if (!json_) return;
  nlohmann::json line = jsonOfFile(path);
  line.update({{"result", "failed"}, {"error", reason}});
  printJson(line);
}

void Report::note(const std::string& text) {
  printError("tagwriter: " + text);
}

void Report::printError(const std::string& text) {
  hideProgress();
  std::cerr << printable(text) << '\n';
}

void Report::hideProgress() {
  if (progress_) progress_->hide();
}

}  // namespace tagwriter
