// Makes the same edits in one file after another.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/arguments.h"
#include "client/reader.h"
#include "client/tag_writer.h"

namespace tagwriter {

/// An edit for one file, and its description for a dry run.
struct PlannedEdit {
  Edit edit;
  std::string description;
  Outcome problem =
      {};  ///< why the file could not be read to plan the edit, which is not made then
};

/// An edit to make in every file, with its name for reports.
struct NamedEdit {
  std::string name;
  /// May depend on what `reader` finds in the file.
  std::function<PlannedEdit(const AudioFile& file, Reader& reader)> plan;
};

/// The edits to make in one file.
struct FileEdits {
  std::string path;
  std::shared_ptr<const std::vector<NamedEdit>> edits;
  std::string problem = {};  ///< if not empty, reported instead
};

/// Whether further edits of the same file would fail too, or do more damage.
bool endsFile(Status status);

/// Makes `edits` in each of `options.paths`, as the options say. Reports failures on standard error
/// as "file: edit: reason" and continues. Returns an exit code.
int editFiles(const EditOptions& options, std::vector<NamedEdit> edits);

/// The same for files with edits of their own, instead of `options.paths`.
int editFiles(const EditOptions& options, const std::vector<FileEdits>& files);

}  // namespace tagwriter
