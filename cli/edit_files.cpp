#include "cli/edit_files.h"

#include <algorithm>
#include <span>

#include "cli/dry_run.h"
#include "cli/field_value.h"
#include "cli/file_contents.h"
#include "cli/file_list.h"
#include "cli/interruption.h"
#include "cli/report.h"
#include "cli/until_exit.h"
#include "cli/work_queue.h"
#include "protocol/file_type.h"

namespace tagwriter {
namespace {

using Edits = std::vector<NamedEdit>;

/// Edits one file after the other.
class FileEditor {
 public:
  FileEditor(const EditOptions& options, Report& report)
      : options_(options),
        report_(report),
        writer_(options.bus ? TagWriter::onSessionBus() : TagWriter()) {}

  void edit(const FileEdits& file) {
    if (!file.problem.empty()) {
      report_.failed(file.path, file.problem);
    } else if (options_.dryRun) {
      dryRun(file.path, *file.edits, writeOptions(), writer_, reader_, report_);
    } else if (options_.safe) {
      editTogether(file.path, *file.edits);
    } else {
      editOneByOne(file.path, *file.edits);
    }
    const bool isEdited = file.problem.empty() && !options_.dryRun;
    if (isEdited && !options_.quiet) noteInfoList(file);
    report_.log(file.path, reader_.takeLog());
  }

 private:
  /// Says what the INFO list of a WAV file still has, which the service does not edit.
  void noteInfoList(const FileEdits& file) {
    OpenedFile opened;
    if (tagFileTypeForPath(file.path.c_str()) != kTagFileWAV) return;
    if (!readFile(file.path, reader_, opened).empty()) return;
    const FileContents& contents = opened.contents;
    for (const auto& info : contents.info) {
      const auto isEdited = [&](const NamedEdit& edit) { return edit.name == info.first; };
      if (std::none_of(file.edits->begin(), file.edits->end(), isEdited)) continue;
      if (std::find(contents.fields.begin(), contents.fields.end(), info) != contents.fields.end())
        continue;
      report_.note(file.path, info.first + ": the INFO list of the file still has '" +
                                  textOf(info.second) + "', which some players show");
    }
  }

  Outcome write(const std::string& path, std::span<const Edit> edits) {
    Outcome outcome = writer_.write(path, edits, writeOptions());
    report_.log(path, outcome.log());
    return outcome;
  }

  WriteOptions writeOptions() const {
    return {.safe = options_.safe, .keepTimes = options_.keepTimes, .anyFile = options_.force};
  }

  void editOneByOne(const std::string& path, const Edits& edits) {
    for (const NamedEdit& edit : edits) {
      const PlannedEdit planned = edit.plan(path, reader_);
      Outcome outcome = planned.problem;
      if (outcome) outcome = write(path, {&planned.edit, 1});
      if (!outcome && endsFile(outcome.status())) return report_.failed(path, outcome.message());
      report_.done(path, edit.name, outcome);
    }
  }

  /// Makes all edits on one copy, or none.
  void editTogether(const std::string& path, const Edits& edits) {
    std::vector<Edit> changes;
    for (const NamedEdit& edit : edits) {
      const PlannedEdit planned = edit.plan(path, reader_);
      if (!planned.problem) return report_.failed(path, planned.problem.message());
      changes.push_back(planned.edit);
    }
    const Outcome outcome = write(path, changes);
    if (outcome) {
      for (const NamedEdit& edit : edits) report_.done(path, edit.name, outcome);
    } else if (endsFile(outcome.status())) {
      report_.failed(path, outcome.message());
    } else {
      report_.done(path, edits[outcome.edit()].name, outcome);
    }
  }

  const EditOptions& options_;
  Report& report_;
  TagWriter writer_;
  Reader reader_;
};

int editEach(const EditOptions& options, const std::vector<FileEdits>& files, Report& report) {
  const Interruption interruption;
  Progress progress(files.size(), !options.quiet && !options.dryRun);
  report.setProgress(&progress);
  std::vector<std::string> paths;
  paths.reserve(files.size());
  for (const FileEdits& file : files) paths.push_back(file.path);
  WorkQueue queue(paths, options.jobs, interruption, progress, report);
  queue.run([&] {
    auto workerReport = std::make_shared<Report>(options.json, options.quiet);
    workerReport->keepLines();
    auto& editor = untilExit<FileEditor>(options, *workerReport);
    return [&files, workerReport, &editor](std::size_t index) -> Report& {
      editor.edit(files[index]);
      return *workerReport;
    };
  });
  const std::string ofAll = " of " + std::to_string(files.size()) + " files";
  if (queue.done() < files.size()) {
    report.note("interrupted after " + std::to_string(queue.done()) + ofAll);
    return kExitFailed;
  }
  if (!report.anyFailed()) return kExitDone;
  const bool showsSum = files.size() > 1 && !options.dryRun && !options.json && !options.quiet;
  if (showsSum && report.failedFiles() > 0) {
    report.note(std::to_string(files.size() - report.failedFiles()) + ofAll + " written");
  }
  return kExitFailed;
}

}  // namespace

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
    case Status::kUnknownType:
    case Status::kOtherContent:
    case Status::kEmptyFile:
      return true;
    default:
      return false;
  }
}

int editFiles(const EditOptions& options, std::vector<NamedEdit> edits) {
  Report report(options.json, options.quiet);
  const auto shared = std::make_shared<const Edits>(std::move(edits));
  std::vector<FileEdits> files;
  for (std::string& path : listFiles(
           options.paths, options.recursive,
           [&](const std::string&path, const std::string&why) { report.failed(path, why); })) {
    files.push_back({std::move(path), shared});
  }
  return editEach(options, files, report);
}

int editFiles(const EditOptions& options, const std::vector<FileEdits>& files) {
  Report report(options.json, options.quiet);
  return editEach(options, files, report);
}

}  // namespace tagwriter
