// Files one after the other, each opened once and given the same requests.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "client/tag_writer.h"

namespace tagwriter {

/// A file that is open for reading and writing, with its name.
struct OpenFile {
  int fd;
  const std::string& path;
};

/// One request, and what it is called when it fails.
struct Edit {
  std::string name;
  std::function<WriteOutcome(TagWriter& writer, const OpenFile& file)> apply;
};

/// Applies `edits` to each of `files` in turn. What fails is named on standard error as "file:
/// edit: reason", and the work goes on. Returns an exit code.
int editFiles(const std::vector<std::string>& files, const std::vector<Edit>& edits);

}  // namespace tagwriter
