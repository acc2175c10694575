#include "client/tag_writer.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "client/connection.h"
#include "client/edit_content.h"
#include "client/field_check.h"
#include "client/forecast.h"
#include "client/outcome_details.h"
#include "client/preflight.h"
#include "client/room.h"
#include "client/safe_copy.h"
#include "protocol/artwork_type.h"
#include "protocol/file_type.h"

namespace tagwriter {
namespace {

/// Remembers the modification time of a file, to restore it after an edit.
class TimestampGuard {
 public:
  explicit TimestampGuard(int fd) { known_ = ::fstat(fd, &before_) == 0; }

  /// Returns false, with errno set, on failure.
  bool restore(int fd) const {
    struct stat now {};
    if (!known_ || ::fstat(fd, &now) != 0) return false;
    // With UTIME_OMIT for the time of access, some FUSE file systems change nothing and succeed.
    const timespec times[] = {now.st_atim, before_.st_mtim};
    return ::futimens(fd, times) == 0;
  }

 private:
  struct stat before_ {};
  bool known_;
};

bool mayBeDamaged(const Outcome& outcome) {
  switch (outcome.status()) {
    case Status::kIncomplete:
    case Status::kNoAnswer:
    case Status::kTimedOut:
      return outcome.mayHaveTouchedFile();
    default:
      return false;
  }
}

}  // namespace

TagWriter::TagWriter(const std::filesystem::path& workerProgram)
    : TagWriter(Connection::embedded(workerProgram)) {}

TagWriter::TagWriter(std::unique_ptr<Connection> connection) : connection_(std::move(connection)) {}

TagWriter TagWriter::onSessionBus() {
  return TagWriter(Connection::onSessionBus());
}

TagWriter::TagWriter(TagWriter&&) noexcept = default;
TagWriter& TagWriter::operator=(TagWriter&&) noexcept = default;
TagWriter::~TagWriter() = default;

Outcome TagWriter::write(const AudioFile& file, const Edit& edit, const WriteOptions& options) {
  return write(file, std::span(&edit, 1), options);
}

Outcome TagWriter::write(const AudioFile& file, std::span<const Edit> edits,
                         const WriteOptions& options) {
  return withLog(writeNow(file, edits, options));
}

Outcome TagWriter::withLog(Outcome outcome) {
  if (std::string log = connection_->takeLog(); !log.empty())
    outcome.details().log = std::move(log);
  return outcome;
}

Outcome TagWriter::writeNow(const AudioFile& file, std::span<const Edit> edits,
                            const WriteOptions& options) {
  UniqueFd fd;
  if (Outcome begun = begin(file, options, fd); !begun) return begun;
  if (edits.empty()) return {};
  if (options.safe) return writeSafely(fd.get(), file.path(), edits, options.keepTimes);

  const TimestampGuard times(fd.get());
  Outcome outcome = send(fd.get(), file.path(), edits);
  // A file that may be damaged must look modified, so that a backup notices.
  const bool restores = options.keepTimes && !mayBeDamaged(outcome);
  if (restores && !times.restore(fd.get()) && outcome) {
    return {Status::kTimesNotKept, std::strerror(errno)};
  }
  return outcome;
}

Outcome TagWriter::begin(const AudioFile& file, const WriteOptions& options, UniqueFd& fd) {
  connection_->setLimits(options);
  connection_->finishQueue();
  const Outcome begins = connection_->checkLimits();
  return begins ? openAudio(file, options, fd) : begins;
}

Outcome TagWriter::send(int fd, const std::string& path, std::span<const Edit> edits) {
  bool hasWritten = false;
  for (const std::size_t i : sendingOrder(edits)) {
    Outcome outcome = sendOne(fd, path, edits[i]);
    if (!outcome) {
      outcome.details().edit = i;
      if (hasWritten) outcome.details().touched = true;
      return outcome;
    }
    hasWritten = true;
  }
  return {};
}

Outcome TagWriter::sendOne(int fd, const std::string& path, const Edit& edit) {
  const auto& [problem, request] = *edit.content_;
  const TagFileType type = tagFileTypeForPath(path.c_str());
  FileContents contents;
  Outcome outcome = problem;
  if (outcome) outcome = checkField(type, request);
  if (outcome) outcome = checkRequest(fd, path, request);
  if (outcome && needsContents(type, request)) {
    outcome = connection_->reader().read(fd, path, contents);
    if (outcome) outcome = checkContents(type, request, contents);
  }
  if (outcome) outcome = connection_->send(fd, path, request);
  if (outcome.status() == Status::kRefused) return whyRefused(fd, path, request);
  const auto next = requestAfter(type, request, contents);
  if (outcome && next && !connection_->send(fd, path, *next)) {
    outcome = {Status::kIncomplete, "the track number was cleared with the number of tracks"};
    outcome.details().touched = true;
  }
  return outcome;
}

Outcome TagWriter::whyRefused(int fd, const std::string& path, const ValueDictionary& request) {
  FileContents contents;
  if (connection_->reader().read(fd, path, contents)) {
    const TagFileType type = tagFileTypeForPath(path.c_str());
    if (Outcome reason = reasonToRefuse(type, request, contents); !reason) return reason;
  }
  if (Outcome room = checkRoom(fd, wireSizeOf(request)); !room) return room;
  return {Status::kRefused};
}

Outcome TagWriter::checkCopy(int copy, const std::string& path) {
  FileContents contents;
  const Outcome outcome = connection_->reader().read(copy, path, contents);
  if (outcome.status() == Status::kUnreadable) return {Status::kCopyUnreadable, outcome.detail()};
  return outcome && !contents.isReadable ? Outcome{Status::kCopyUnreadable} : outcome;
}

Outcome TagWriter::writeSafely(int fd, const std::string& path, std::span<const Edit> edits,
                               bool keepTimes) {
  const TimestampGuard times(fd);
  SafeCopy copy;
  if (Outcome made = copy.make(fd, path); !made) return made;
  if (Outcome written = send(copy.fd(), path, edits); !written) {
    written.details().touched = false;  // only the copy
    return written;
  }
  if (Outcome readable = checkCopy(copy.fd(), path); !readable) return readable;
  if (Outcome limits = connection_->checkLimits(); !limits) return limits;
  if (keepTimes && !times.restore(copy.fd())) return {Status::kCopyFailed, std::strerror(errno)};
  return copy.replaceOriginal(fd);
}

void TagWriter::writeAsync(const AudioFile& file, std::vector<Edit> edits,
                           const WriteOptions& options, WriteCallback callback) {
  QueuedRequest request = {file, {}, std::move(edits), options, std::move(callback)};
  if (file.fd()) {
    request.fd = duplicateFd(*file.fd());
    request.file = AudioFile(request.fd.get(), file.path());
  }
  connection_->queue().add(std::move(request));
}

std::future<Outcome> TagWriter::writeAsync(const AudioFile& file, std::vector<Edit> edits,
                                           const WriteOptions& options) {
  auto promise = std::make_shared<std::promise<Outcome>>();  // a std::function must be copyable
  std::future<Outcome> future = promise->get_future();
  writeAsync(file, std::move(edits), options,
             [promise](const Outcome& outcome) { promise->set_value(outcome); });
  return future;
}

void TagWriter::hangUpIfStalled(std::chrono::milliseconds limit) {
  connection_->hangUpIfStalled(limit);
}

const char* version() noexcept {
  return TAGWRITER_VERSION_STRING;
}

ImageType detectImageType(std::span<const std::byte> image) {
  const auto type = artworkTypeOf(image);
  return type ? static_cast<ImageType>(*type) : ImageType::kOther;
}

}  // namespace tagwriter
