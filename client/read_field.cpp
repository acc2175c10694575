#include <fcntl.h>

#include "client/tag_writer.h"
#include "protocol/unique_fd.h"
#include "reading/field_reader.h"

namespace tagwriter {

std::optional<TrackValue> readField(const AudioFile& file, std::string_view key) {
  const UniqueFd fd =
      file.fd() ? duplicateFd(*file.fd())
                : UniqueFd(::open(file.path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!fd) return std::nullopt;
  return readFieldValue(fd.get(), file.path(), std::string(key));
}

}  // namespace tagwriter
