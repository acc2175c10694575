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
  // A pipe without a writer must not keep us waiting.
  return UniqueFd(::open(file.path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
}

}  // namespace

std::optional<TrackValue> readField(const AudioFile& file, std::string_view key) {
  if (file.path().find('\0') != std::string::npos) return std::nullopt;
  UniqueFd fd = openForReading(file);
  struct stat status {};
  // Of a pipe or a device, reading takes something away, or never ends.
  if (!fd || ::fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  const auto stored = readStoredField(std::move(fd), file.path().c_str(), std::string(key).c_str());
  return stored ? std::optional<TrackValue>(stored->value) : std::nullopt;
}

}  // namespace tagwriter
