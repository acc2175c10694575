// Reports results on standard output and errors on standard error, one per line.
#pragma once

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/progress.h"
#include "client/tag_writer.h"

namespace tagwriter {

/// A line of a report.
struct ReportLine {
  bool isError;
  std::string text;
};

/// Prints results in the format of the options, and remembers whether anything failed.
class Report {
 public:
  Report(bool json, bool quiet) : json_(json), quiet_(quiet) {}

  /// Sets the bar to hide before anything is printed; null for none.
  void setProgress(Progress* progress) { progress_ = progress; }

  /// Reports what a dry run would write, and what it would replace, if anything.
  void planned(const std::string& path, const std::string& edit, const std::string& description,
               const std::optional<std::string>& old);
  /// Reports the result of an edit.
  void done(const std::string& path, const std::string& edit, const Outcome& outcome);
  /// Reports that a picture of a file is in the file `target`.
  void extracted(const std::string& path, const std::string& target, const std::string& role);
  /// Reports a file that could not be processed.
  void failed(const std::string& path, const std::string& reason);
  /// Reports something about a file that is no failure.
  void note(const std::string& path, const std::string& text);
  /// Reports something about the whole run.
  void note(const std::string& text);

  /// Reports what the workers said about a file, as in Outcome::log; no failure either.
  void log(const std::string& path, const std::string& text);

  bool anyFailed() const { return anyFailed_ || failedFiles_ > 0; }
  /// In how many files something failed, of those whose reports were added.
  std::size_t failedFiles() const { return failedFiles_; }

  /// Keeps all lines from now on, to be taken instead of printed.
  void keepLines() { keepsLines_ = true; }
  /// Takes the lines that have been kept.
  std::vector<ReportLine> takeLines() { return std::exchange(lines_, {}); }
  /// Prints lines of a report with the same options.
  void print(const std::vector<ReportLine>& lines);
  /// Takes over whether anything failed in `other`, the report on a file.
  void add(Report& other) { failedFiles_ += std::exchange(other.anyFailed_, false) ? 1 : 0; }

 private:
  void add(bool isError, std::string text);
  void addJson(const nlohmann::json& object);
  void addError(const std::string& text);

  bool keepsLines_ = false;
  std::vector<ReportLine> lines_;
  bool json_;
  bool quiet_;
  bool anyFailed_ = false;
  std::size_t failedFiles_ = 0;
  Progress* progress_ = nullptr;
};

}  // namespace tagwriter
