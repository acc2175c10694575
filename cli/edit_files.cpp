#include "cli/edit_files.h"

#include <iostream>

#include "cli/arguments.h"

namespace tagwriter {
namespace {

/// Whether the file itself is at fault, so that no other edit of it can do better.
bool concernsFile(Status status) {
  switch (status) {
    case Status::kNotFound:
    case Status::kNotRegularFile:
    case Status::kNotWritable:
    case Status::kServiceUnavailable:
      return true;
    default:
      return false;
  }
}

bool editFile(TagWriter& writer, const std::string& path, const std::vector<NamedEdit>& edits) {
  bool allWritten = true;
  for (const NamedEdit& edit : edits) {
    const Outcome outcome = writer.write(path, edit.make(path));
    if (outcome) continue;
    if (concernsFile(outcome.status)) {
      std::cerr << path << ": " << outcome.message() << '\n';
      return false;
    }
    std::cerr << path << ": " << edit.name << ": " << outcome.message() << '\n';
    allWritten = false;
  }
  return allWritten;
}

}  // namespace

int editFiles(const std::vector<std::string>& files, const std::vector<NamedEdit>& edits) {
  TagWriter writer;
  bool allWritten = true;
  for (const std::string& path : files) allWritten = editFile(writer, path, edits) && allWritten;
  return allWritten ? kExitDone : kExitFailed;
}

}  // namespace tagwriter
