// Files one after the other, each opened once and given the same requests.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "client/tag_writer.h"

namespace tagwriter {

/// One edit, and what it is called when it fails.
struct NamedEdit {
  std::string name;
  std::function<Edit(const AudioFile& file)> make;  ///< some edits depend on what is in the file
};

/// Applies `edits` to each of `files` in turn. What fails is named on standard error as "file:
/// edit: reason", and the work goes on. Returns an exit code.
int editFiles(const std::vector<std::string>& files, const std::vector<NamedEdit>& edits);

}  // namespace tagwriter
