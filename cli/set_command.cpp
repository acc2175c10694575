#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <iostream>

#include "cli/commands.h"
#include "client/tag_writer.h"
#include "client/worker_process.h"

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
         "this field";
}

bool setInFile(TagWriter& writer, const std::string& path,
               const std::vector<FieldAssignment>& fields) {
  std::string error;
  const UniqueFd file = openForUpdate(path, error);
  if (!file) {
    std::cerr << path << ": " << error << '\n';
    return false;
  }
  bool allWritten = true;
  for (const FieldAssignment& field : fields) {
    ValueDictionary track;
    track.set(field.key, field.value);
    const WriteOutcome outcome = writer.writeField(file.get(), path, field.key, std::move(track));
    if (!outcome.written()) {
      std::cerr << path << ": " << field.key << ": " << reasonOf(outcome) << '\n';
      allWritten = false;
    }
  }
  return allWritten;
}

}  // namespace

int runSet(const SetArguments& arguments) {
  const std::string program = findWorkerProgram();
  if (program.empty()) {
    std::cerr << "tagwriter: tagwriterd is neither beside this program nor in its libexec folder\n";
    return kExitFailed;
  }
  TagWriter writer(program);
  bool allWritten = true;
  for (const std::string& path : arguments.files) {
    allWritten = setInFile(writer, path, arguments.fields) && allWritten;
  }
  return allWritten ? kExitDone : kExitFailed;
}

}  // namespace tagwriter
