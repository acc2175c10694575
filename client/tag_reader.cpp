#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "base/unique_fd.h"
#include "client/outcome_details.h"
#include "client/reader.h"
#include "client/tag_writer.h"

namespace tagwriter {
namespace {

Outcome openForReading(const AudioFile& file, UniqueFd& fd) {
  if (file.path().find('\0') != std::string::npos) {
    return {Status::kNotFound, std::strerror(EINVAL)};
  }
  // Opening a pipe for reading would block until it has a writer.
  fd = file.fd() ? duplicateFd(*file.fd())
                 : UniqueFd(::open(file.path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!fd || ::fstat(fd.get(), &status) != 0) return {Status::kNotFound, std::strerror(errno)};
  // Reading would consume data from a pipe, and might never end on a device.
  if (!S_ISREG(status.st_mode)) return {Status::kNotRegularFile};
  return {};
}

}  // namespace

TagReader::TagReader(const std::filesystem::path& readerProgram)
    : reader_(std::make_unique<Reader>(readerProgram)) {}

TagReader::TagReader(TagReader&&) noexcept = default;
TagReader& TagReader::operator=(TagReader&&) noexcept = default;
TagReader::~TagReader() = default;

std::optional<TrackValue> TagReader::readField(const AudioFile& file, Text key, Outcome* outcome) {
  UniqueFd fd;
  std::optional<TrackValue> value;
  Outcome result = openForReading(file, fd);
  if (result) result = reader_->readField(fd.get(), file.path(), key, value);
  if (std::string log = reader_->takeLog(); !log.empty()) result.details().log = std::move(log);
  if (outcome) *outcome = std::move(result);
  return value;
}

std::optional<TrackValue> readField(const AudioFile& file, Text key) {
  return TagReader().readField(file, key);
}

}  // namespace tagwriter
