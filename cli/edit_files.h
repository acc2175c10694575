// Files one after the other, each given the same edits.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cli/arguments.h"
#include "client/tag_writer.h"

namespace tagwriter {

/// An edit for one file, and what it does in words.
struct PlannedEdit {
  Edit edit;
  std::string what;
};

/// One thing to do to every file, and what it is called when it fails.
struct NamedEdit {
  std::string name;
  std::function<PlannedEdit(const AudioFile& file)> plan;  ///< it may depend on what is in the file
};

/// Makes `edits` in each file of `options` in turn, as the options say. What fails is named on
/// standard error as "file: edit: reason", and the work goes on. Returns an exit code.
int editFiles(const EditOptions& options, const std::vector<NamedEdit>& edits);

}  // namespace tagwriter
