#include "cli/edit_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <iostream>

#include "cli/arguments.h"
#include "client/worker_process.h"
#include "protocol/unique_fd.h"

namespace tagwriter {
namespace {

/// Opens a regular file for reading and writing. Returns an empty descriptor on failure, with the
/// reason in `error`.
UniqueFd openForUpdate(const std::string& path, std::string& error) {
  UniqueFd file(::open(path.c_str(), O_RDWR | O_CLOEXEC));
  struct stat status {};
  if (!file || ::fstat(file.get(), &status) != 0) {
    error = std::strerror(errno);
    return {};
  }
  if (!S_ISREG(status.st_mode)) {
    error = "not a regular file";
    return {};
  }
  return file;
}

std::string reasonOf(const WriteOutcome& outcome) {
  if (outcome.status == WriteOutcome::Status::kNoAnswer) return outcome.detail;
  return "not written: the file is not readable as audio of its type, or the type does not take "
         "this";
}

bool editFile(TagWriter& writer, const std::string& path, const std::vector<Edit>& edits) {
  std::string error;
  const UniqueFd file = openForUpdate(path, error);
  if (!file) {
    std::cerr << path << ": " << error << '\n';
    return false;
  }
  bool allWritten = true;
  for (const Edit& edit : edits) {
    const WriteOutcome outcome = edit.apply(writer, {file.get(), path});
    if (outcome.written()) continue;
    std::cerr << path << ": " << edit.name << ": " << reasonOf(outcome) << '\n';
    allWritten = false;
  }
  return allWritten;
}

}  // namespace

int editFiles(const std::vector<std::string>& files, const std::vector<Edit>& edits) {
  const std::string program = findWorkerProgram();
  if (program.empty()) {
    std::cerr << "tagwriter: tagwriterd is neither beside this program nor in its libexec folder\n";
    return kExitFailed;
  }
  TagWriter writer(program);
  bool allWritten = true;
  for (const std::string& path : files) allWritten = editFile(writer, path, edits) && allWritten;
  return allWritten ? kExitDone : kExitFailed;
}

}  // namespace tagwriter
