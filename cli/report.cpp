#include "cli/report.h"

#include <iostream>
#include <sstream>

#include "cli/json_line.h"
#include "cli/printable.h"

namespace tagwriter {
namespace {

/// The start of a text, without half a character at the end.
std::string shortened(const std::string& text) {
  constexpr std::size_t kMax = 60;
  if (text.size() <= kMax) return text;
  std::size_t end = kMax;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) --end;
  return text.substr(0, end) + "...";
}

/// The message of libtagwriter, with a hint at the option to use.
std::string messageOf(const Outcome& outcome) {
  const bool hasPicture = outcome.status() == Status::kHasPicture;
  return outcome.message() + (hasPicture ? " (use --replace)" : "");
}

}  // namespace

void Report::planned(const std::string& path, const std::string& edit,
                     const std::string& description, const std::optional<std::string>& old) {
  if (json_) {
    nlohmann::json line = jsonOfFile(path);
    line.update({{"edit", edit}, {"result", "planned"}, {"what", description}});
    line["was"] = old ? nlohmann::json(*old) : nlohmann::json();
    addJson(line);
  } else if (!quiet_) {
    const std::string was = old ? "was: " + shortened(*old) : "was not set";
    add(false, printable(path + ": " + description + " (" + was + ")"));
  }
}

void Report::done(const std::string& path, const std::string& edit, const Outcome& outcome) {
  if (!outcome) {
    anyFailed_ = true;
    addError(path + ": " + edit + ": " + messageOf(outcome));
  }
  if (!json_) return;
  nlohmann::json line = jsonOfFile(path);
  line["edit"] = edit;
  line["result"] = outcome ? "written" : "failed";
  if (!outcome) line["error"] = messageOf(outcome);
  addJson(line);
}

void Report::extracted(const std::string& path, const std::string& target,
                       const std::string& role) {
  if (json_) {
    nlohmann::json line = jsonOfFile(path);
    setPath(line, "picture", target);
    line.update({{"role", role}, {"result", "extracted"}});
    addJson(line);
  } else if (!quiet_) {
    add(false, printable(target));
  }
}

void Report::failed(const std::string& path, const std::string& reason) {
  anyFailed_ = true;
  addError(path + ": " + reason);
  if (!json_) return;
  nlohmann::json line = jsonOfFile(path);
  line.update({{"result", "failed"}, {"error", reason}});
  addJson(line);
}

void Report::note(const std::string& path, const std::string& text) {
  if (!quiet_) addError(path + ": " + text);
}

void Report::note(const std::string& text) {
  addError("tagwriter: " + text);
}

void Report::log(const std::string& path, const std::string& text) {
  if (text.empty()) return;  // the usual case; making a stream slows down parallel workers
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) addError((path + ": log: ").append(line));
}

void Report::print(const std::vector<ReportLine>& lines) {
  if (progress_ && !lines.empty()) progress_->hide();
  for (const ReportLine& line : lines) (line.isError ? std::cerr : std::cout) << line.text << '\n';
  // Whoever reads the objects may be waiting for them.
  if (json_) std::cout.flush();
}

void Report::add(bool isError, std::string text) {
  lines_.push_back({isError, std::move(text)});
  if (!keepsLines_) print(takeLines());
}

void Report::addJson(const nlohmann::json& object) {
  add(false, jsonLine(object));
}

void Report::addError(const std::string& text) {
  add(true, printable(text));
}

}  // namespace tagwriter
