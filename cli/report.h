// What the verbs say: one line a result on standard output, one line an error on standard error.
#pragma once

#include <string>

#include "cli/progress.h"
#include "client/tag_writer.h"

namespace tagwriter {

/// Prints results as the user wants them, and remembers whether anything failed.
class Report {
 public:
  Report(bool json, bool quiet) : json_(json), quiet_(quiet) {}

  /// What is printed takes this line away first; null for none.
  void setProgress(Progress* progress) { progress_ = progress; }

  /// What would be written.
  void planned(const std::string& path, const std::string& edit, const std::string& what);
  /// What came of an edit.
  void done(const std::string& path, const std::string& edit, const Outcome& outcome);
  /// A file that could not be worked on at all.
  void failed(const std::string& path, const std::string& reason);
  /// A message about the whole run.
  void note(const std::string& text);

  bool anyFailed() const { return anyFailed_; }

 private:
  void printError(const std::string& text);
  void hideProgress();

  bool json_;
  bool quiet_;
  bool anyFailed_ = false;
  Progress* progress_ = nullptr;
};

}  // namespace tagwriter
