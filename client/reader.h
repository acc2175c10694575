// Reads files through tagreaderd: this process parses nothing.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "client/private_worker.h"
#include "client/tag_writer.h"

namespace tagwriter {

/// One embedded picture, without its bytes.
struct PictureInfo {
  /// As in ID3v2 (frames, 4.14), such as kFrontCover; nullopt if the format does not store it.
  std::optional<std::int64_t> type;
  std::string role;                      ///< the same in words, for example "Front Cover"
  std::string mimeType;                  ///< may be empty
  std::uint64_t size = 0;                ///< in bytes
  std::uint64_t width = 0;               ///< in pixels; 0 if unknown
  std::uint64_t height = 0;              ///< the same
  ImageType format = ImageType::kOther;  ///< by its first bytes
};

/// The type of a picture that is a front cover.
inline constexpr std::int64_t kFrontCover = 3;

/// The fields that are in one file, in the order of field::kAll, with values of their types. An
/// integer is never 0.
using FieldListing = std::vector<std::pair<std::string, TrackValue>>;

/// The value of the field `key`, owned by `fields`; null if it is not among them.
const TrackValue* findValue(const FieldListing& fields, std::string_view key);

/// The tags of one file: pairs of TagLib's unified name ("TITLE") and a value, sorted by name. A
/// name with several values has one pair for each.
using TagListing = std::vector<std::pair<std::string, std::string>>;

/// What is in a file.
struct FileContents {
  bool isReadable = false;  ///< whether TagLib can read it, as any type
  bool isAudio = false;     ///< whether it can read it as the type that the name says
  bool isTagged = false;    ///< whether it has the tag that the service edits in files of that type
  bool isComplete = false;  ///< false if something was too large for a message
  FieldListing fields;
  FieldListing info;  ///< the fields in the INFO list of a WAV file, which no edit changes
  TagListing tags;
  std::vector<PictureInfo> pictures;
};

/// A private tagreaderd, started at the first request and restarted if it has exited. Used by one
/// thread at a time.
class Reader {
 public:
  /// `program` is the path of tagreaderd; if empty, it is searched for.
  explicit Reader(std::string program = {}) : worker_(dbus::kReaderProgram, std::move(program)) {}

  const std::string& program() const { return worker_.program(); }

  /// Until when the calls that follow wait for the reader. They fail with kTimedOut then.
  void setDeadline(const dbus::Deadline& deadline) {
    deadline_ = deadline;
    worker_.setDeadline(deadline);
  }

  /// Takes what the reader has reported since the last time, as in Outcome::log.
  std::string takeLog() { return worker_.takeLog(); }

  /// Hangs up on a reader that does not answer, as StallGuard does. From any thread.
  void hangUpIfStalled(std::chrono::milliseconds limit) { worker_.hangUpIfStalled(limit); }

  /// Reads the regular file `fd`, which is borrowed, into `contents`. Its offset moves if it is
  /// open for reading only; otherwise the reader gets a new descriptor for reading. `path` is its
  /// name and is not opened. Fails with kUnreadable, if the reader dies or the file cannot be
  /// opened for reading, or with kServiceUnavailable, if the reader cannot be started.
  Outcome read(int fd, const std::string& path, FileContents& contents);

  /// Receives a piece of a picture; returns false to stop.
  using PictureSink = std::function<bool(std::span<const std::byte> piece)>;

  /// Reads the bytes of the picture at `index` in FileContents::pictures in the same way, in pieces
  /// that are passed to `sink` in order. Fails also if the file does not have the picture any more.
  Outcome readPicture(int fd, const std::string& path, std::uint64_t index,
                      const PictureSink& sink);

  /// Reads one field in the same way into `value`: nullopt if it is not in the file.
  Outcome readField(int fd, const std::string& path, std::string_view key,
                    std::optional<TrackValue>& value);

 private:
  Outcome call(int fd, const std::string& path, ValueDictionary request, dbus::Reply& reply);

  dbus::Deadline deadline_ = dbus::Deadline::never();
  PrivateWorker worker_;
};

}  // namespace tagwriter
