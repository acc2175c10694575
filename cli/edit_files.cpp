#include "cli/edit_files.h"

#include "cli/file_list.h"
#include "cli/interruption.h"
#include "cli/report.h"
#include "client/preflight.h"

namespace tagwriter {
namespace {

/// Whether further edits of the same file would fail too, or do more damage.
bool endsFile(Status status) {
  switch (status) {
    case Status::kNotFound:
    case Status::kNotRegularFile:
    case Status::kNotWritable:
    case Status::kServiceUnavailable:
    case Status::kNoAnswer:
    case Status::kIncomplete:
    case Status::kCopyFailed:
    case Status::kCopyUnreadable:
    case Status::kReplaceFailed:
    case Status::kUnreadable:
      return true;
    default:
      return false;
  }
}

/// Makes the same edits in each file.
class FileEditor {
 public:
  FileEditor(const EditOptions& options, const std::vector<NamedEdit>& edits, Report& report)
      : options_(options),
        edits_(edits),
        report_(report),
        writer_(options.bus ? TagWriter::onSessionBus() : TagWriter()) {}

  void edit(const std::string& path) {
    if (options_.dryRun) {
      plan(path);
    } else if (options_.safe) {
      editTogether(path);
    } else {
      editOneByOne(path);
    }
  }

 private:
  WriteOptions writeOptions() const {
    return {.safe = options_.safe, .keepTimes = options_.keepTimes};
  }

  void plan(const std::string& path) {
    UniqueFd fd;
    if (const Outcome opened = openForEdit(path, fd); !opened) {
      return report_.failed(path, opened.message());
    }
    for (const NamedEdit& edit : edits_) {
      const PlannedEdit planned = edit.plan(path, reader_);
      if (!planned.problem) return report_.failed(path, planned.problem.message());
      report_.planned(path, edit.name, planned.description);
    }
  }

  void editOneByOne(const std::string& path) {
    for (const NamedEdit& edit : edits_) {
      const PlannedEdit planned = edit.plan(path, reader_);
      Outcome outcome = planned.problem;
      if (outcome) outcome = writer_.write(path, planned.edit, writeOptions());
      if (!outcome && endsFile(outcome.status())) return report_.failed(path, outcome.message());
      report_.done(path, edit.name, outcome);
    }
  }

  /// Makes all edits on one copy, or none.
  void editTogether(const std::string& path) {
    std::vector<Edit> edits;
    for (const NamedEdit& edit : edits_) {
      const PlannedEdit planned = edit.plan(path, reader_);
      if (!planned.problem) return report_.failed(path, planned.problem.message());
      edits.push_back(planned.edit);
    }
    const Outcome outcome = writer_.write(path, edits, writeOptions());
    if (outcome) {
      for (const NamedEdit& edit : edits_) report_.done(path, edit.name, outcome);
    } else if (endsFile(outcome.status())) {
      report_.failed(path, outcome.message());
    } else {
      report_.done(path, edits_[outcome.edit()].name, outcome);
    }
  }

  const EditOptions& options_;
  const std::vector<NamedEdit>& edits_;
  Report& report_;
  TagWriter writer_;
  Reader reader_;
};

}  // namespace

int editFiles(const EditOptions& options, const std::vector<NamedEdit>& edits) {
  const Interruption interruption;
  Report report(options.json, options.quiet);
  const std::vector<std::string> files =
      listFiles(options.paths, options.recursive,
                [&](const std::string& path, const std::string& why) { report.failed(path, why); });

  Progress progress(files.size(), !options.quiet && !options.dryRun);
  report.setProgress(&progress);
  FileEditor editor(options, edits, report);
  for (std::size_t done = 0; done < files.size(); ++done) {
    if (interruption.requested()) {
      report.note("interrupted after " + std::to_string(done) + " of " +
                  std::to_string(files.size()) + " files");
      return kExitFailed;
    }
    progress.show(done);
    editor.edit(files[done]);
  }
  return report.anyFailed() ? kExitFailed : kExitDone;
}

}  // namespace tagwriter
