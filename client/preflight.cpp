#include "client/preflight.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "client/content.h"
#include "protocol/file_type.h"
#include "protocol/keys.h"

namespace tagwriter {
namespace {

constexpr std::uint64_t kMax32Bit = 0xffffffff;
// Leaves room for what the connection adds: descriptors, the entry of the path, padding.
constexpr std::uint64_t kMaxRequest = (std::uint64_t{64} << 20) - 1024;

Outcome failed(Status status, int error) {
  return {status, std::strerror(error)};
}

bool has32BitSizes(const std::string& path) {
  const TagFileType type = tagFileTypeForPath(path.c_str());
  return type == kTagFileWAV || type == kTagFileAIFF;
}

Outcome openPath(const std::string& path, UniqueFd& fd) {
  // Opening a device can block, for instance a serial port without a carrier. A pipe opened for
  // reading and writing never blocks.
  fd = aboveStandardStreams(UniqueFd(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK)));
  if (fd) return {};
  switch (errno) {
    case EACCES:
    case EPERM:
    case EROFS:
    case ETXTBSY:
      return failed(Status::kNotWritable, errno);
    case EISDIR:
    case ENXIO:
    case ENODEV:
      return failed(Status::kNotRegularFile, errno);
    default:
      return failed(Status::kNotFound, errno);
  }
}

Outcome checkMode(int fd) {
  const int flags = ::fcntl(fd, F_GETFL);
  if (flags < 0) return failed(Status::kNotFound, errno);
  if ((flags & O_ACCMODE) != O_RDWR)
    return {Status::kNotWritable, "the descriptor is not open for reading and writing"};
  if (flags & O_APPEND) return {Status::kOpenedForAppend};
  return {};
}

Outcome checkKind(int fd) {
  struct stat status {};
  if (::fstat(fd, &status) != 0) return failed(Status::kNotFound, errno);
  if (!S_ISREG(status.st_mode)) return {Status::kNotRegularFile};
  return {};
}

/// Returns the size of one value in bytes, including its signature and padding.
struct WireSize {
  static constexpr std::uint64_t kOverhead = 32;
  std::uint64_t operator()(const std::string& text) const { return text.size() + kOverhead; }
  std::uint64_t operator()(BorrowedText text) const { return std::strlen(text.text) + kOverhead; }
  std::uint64_t operator()(const ByteString& text) const { return text.bytes.size() + kOverhead; }
  std::uint64_t operator()(ValueDictionary::Data data) const { return data.size() + kOverhead; }
  std::uint64_t operator()(const std::shared_ptr<const ValueDictionary>& dictionary) const {
    return wireSizeOf(*dictionary) + kOverhead;
  }
  std::uint64_t operator()(const std::shared_ptr<const ValueDictionary::List>& list) const {
    std::uint64_t size = kOverhead;
    for (const ValueDictionary& item : *list) size += wireSizeOf(item) + kOverhead;
    return size;
  }
  template <typename Number>
  std::uint64_t operator()(const Number&) const {
    return kOverhead;
  }
};

}  // namespace

Outcome openForEdit(const AudioFile& file, UniqueFd& fd) {
  if (file.path().find('\0') != std::string::npos) return failed(Status::kNotFound, EINVAL);
  if (file.fd()) {
    fd = duplicateFd(*file.fd());
    if (!fd) return failed(Status::kNotFound, errno);
  } else if (Outcome opened = openPath(file.path(), fd); !opened) {
    return opened;
  }
  if (Outcome kind = checkKind(fd.get()); !kind) return kind;
  return checkMode(fd.get());
}

Outcome openAudio(const AudioFile& file, const WriteOptions& options, UniqueFd& fd) {
  Outcome opened = openForEdit(file, fd);
  return opened && !options.anyFile ? checkContent(fd.get(), file.path()) : opened;
}

Outcome checkRequest(int fd, const std::string& path, const ValueDictionary& request) {
  const std::uint64_t size = wireSizeOf(request) + path.size();
  if (size >= kMaxRequest) return {Status::kRequestTooLarge};
  if (!has32BitSizes(path)) return {};
  struct stat status {};
  if (::fstat(fd, &status) != 0) return failed(Status::kNotFound, errno);
  const auto fileSize = static_cast<std::uint64_t>(status.st_size);
  return fileSize + size > kMax32Bit ? Outcome(Status::kFileTooLarge) : Outcome();
}

bool mustKeepPictures(const ValueDictionary& request) {
  return request.values().contains(key::kArtwork) && !request.getBool(key::kReplaceArtwork);
}

std::uint64_t wireSizeOf(const ValueDictionary& request) {
  constexpr std::uint64_t kEntryOverhead = 16;
  std::uint64_t size = 0;
  for (const auto& [key, value] : request.values()) {
    size += key.size() + kEntryOverhead + std::visit(WireSize(), value);
  }
  return size;
}

}  // namespace tagwriter
