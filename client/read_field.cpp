#include <fcntl.h>
#include <sys/stat.h>

#include <utility>

#include "base/unique_fd.h"
#include "client/tag_writer.h"
#include "tagging/read_field.h"

namespace tagwriter {
namespace {

UniqueFd openForReading(const AudioFile& file) {
  if (file.fd()) return duplicateFd(*file.fd());
  // Opening a pipe for reading would block until it has a writer.
  return UniqueFd(::open(file.path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
}

}  // namespace

std::optional<TrackValue> readField(const AudioFile& file, std::string_view key) {
  if (file.path().find('\0') != std::string::npos) return std::nullopt;
  UniqueFd fd = openForReading(file);
  struct stat status {};
  // Reading would consume data from a pipe, and might never end on a device.
  if (!fd || ::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  const auto stored = readStoredField(std::move(fd), file.path().c_str(), key);
  return stored ? std::optional<TrackValue>(stored->value) : std::nullopt;
}

}  // namespace tagwriter
