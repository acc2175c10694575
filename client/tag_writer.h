// The player's side of the tag writer service, as a library.
//
//   tagwriter::TagWriter writer;                              // a worker process of one's own
//   auto outcome = writer.setField("song.flac", "title", "Morgen früh");
//   if (!outcome) std::cerr << outcome.message() << '\n';
//
// The service answers with nothing but true or false. Everything else that a player wants to know
// is found out here: before the request by guards, each with a status of its own, and afterwards by
// readField. This header needs the standard library only.
#pragma once

#if __cplusplus < 202002L
#error "tagwriter/tag_writer.h needs C++20 (-std=c++20)"
#endif

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#if defined(__GNUC__)
#define TAGWRITER_API [[gnu::visibility("default")]]
#else
#define TAGWRITER_API
#endif

namespace tagwriter {

/// A field's value: text (UTF-8), a whole number, a decimal or a flag, as the field wants it.
using TrackValue = std::variant<std::string, std::int64_t, double, bool>;

/// What came of a request.
enum class Status {
  kWritten,     ///< the service said true
  kRefused,     ///< the service said false: not audio of the file's type, or a type that
                ///< does not take the change; in-place, the file may have been touched
  kIncomplete,  ///< bytes were lost on the way to the file, as on a full disk; in-place, the
                ///< file is damaged
  kNoAnswer,    ///< the service went away in the middle; in-place, the file may be damaged
  kServiceUnavailable,  ///< the service could not be reached; nothing was sent
  kUnknownField,        ///< no such field, or a value of another type than the field's
  kInvalidText,         ///< a text is not UTF-8, or holds a zero byte
  kNotFound,            ///< the file cannot be opened
  kNotRegularFile,      ///< a directory, a device, a pipe
  kNotWritable,         ///< the file, or the caller's descriptor, cannot be written
  kOpenedForAppend,     ///< the caller's descriptor would write everything to the file's end
  kFileTooLarge,        ///< the file would outgrow the 32-bit sizes of its format
  kRequestTooLarge,     ///< the request would be 64 MiB or more, the limit of the wire
  kHasPicture,          ///< a picture is there, which a new one was not to replace
  kCopyFailed,          ///< safe mode: no faithful copy could be made; the file is as it was
  kCopyUnreadable,  ///< safe mode: the edited copy does not open any more; the file is as it was
  kReplaceFailed,   ///< safe mode: the copy could not take the file's place
  kTimesNotKept,    ///< in-place: written, but the modification time is new
};

/// The status of a request with what the system said about it.
struct [[nodiscard]] TAGWRITER_API Outcome {
  Status status = Status::kWritten;
  std::string detail = {};  ///< what the system said, or empty
  std::size_t edit = 0;     ///< of several edits, the index of the one that failed

  /// True when the change was written.
  explicit operator bool() const { return status == Status::kWritten; }
  /// A sentence for people, the detail included.
  std::string message() const;
};

/// An audio file: a path, which is opened for each request, or a descriptor that the caller has
/// open for reading and writing, with the path as its name.
class TAGWRITER_API AudioFile {
 public:
  AudioFile(std::string path) : path_(std::move(path)) {}  // NOLINT(google-explicit-constructor)
  AudioFile(const char* path) : path_(path) {}             // NOLINT(google-explicit-constructor)
  /// `fd` stays the caller's; its offset moves.
  AudioFile(int fd, std::string path) : fd_(fd), path_(std::move(path)) {}

  /// The caller's descriptor, or none when there is only a path.
  std::optional<int> fd() const { return fd_; }
  const std::string& path() const { return path_; }

 private:
  std::optional<int> fd_;
  std::string path_;
};

/// How a change is made.
struct WriteOptions {
  /// The edit happens on a copy beside the file, which takes the file's place only when everything
  /// has gone well. Whatever happens before that, the file is as it was. The file gets a new inode:
  /// hard links and descriptors that are open keep the old content.
  bool safe = false;
  /// The modification time is what it was before, unless bytes were lost or nobody knows.
  bool keepTimes = false;
};

/// The formats of images.
enum class ImageType : std::int64_t {
  kOther = 0,
  kPNG = 1,
  kJPEG = 2,
  kTIFF = 3,
  kGIF = 4,
  kBMP = 5
};

/// Finds the format by the image's first bytes; kOther when it is none of the five.
TAGWRITER_API ImageType detectImageType(std::span<const std::byte> image);

class ValueDictionary;

/// One change of a file's tags, ready to be made in any number of files.
class TAGWRITER_API Edit {
 public:
  /// A field's new value. `key` is a field key ("title", "trackNumber", ...), `value` of its type.
  /// A disc's number and the number of discs belong together: see setDisc. What does not fit comes
  /// out as kUnknownField when the edit is made.
  static Edit setField(std::string_view key, const TrackValue& value);
  /// A field that goes away.
  static Edit clearField(std::string_view key);
  /// The disc's number and the number of discs; 0 stands for unknown.
  static Edit setDisc(std::int64_t number, std::int64_t total);
  /// The front cover. `image` (encoded bytes) is lent for the life of the edit. Pictures that are
  /// there are replaced; without `replace` they are kept, and nothing is sent (kHasPicture).
  static Edit setCover(std::span<const std::byte> image, ImageType type, bool replace);
  /// All pictures go away.
  static Edit clearCovers();

 private:
  friend class TagWriter;
  explicit Edit(Outcome problem) : problem_(std::move(problem)) {}
  explicit Edit(ValueDictionary request);

  Outcome problem_;
  std::shared_ptr<const ValueDictionary> request_;
};

/// Writes tags through the service. The calls block until the file is written. One object may be
/// used from several threads, by one at a time; one that was moved from can be assigned to or
/// destroyed. Nothing here throws but std::bad_alloc. A worker that dies between two requests is
/// waited for at the next one.
class TAGWRITER_API TagWriter {
 public:
  /// With a worker process of one's own, started at the first request and again after its death.
  /// `workerProgram` is the path of tagwriterd; when empty it is looked for beside the running
  /// program and in the libexec directory of the installation.
  explicit TagWriter(std::string workerProgram = {});
  /// Through the session bus, which starts the service on demand.
  static TagWriter onSessionBus();

  TagWriter(TagWriter&&) noexcept;
  TagWriter& operator=(TagWriter&&) noexcept;
  ~TagWriter();

  /// Makes one edit.
  Outcome write(const AudioFile& file, const Edit& edit, const WriteOptions& options = {});
  /// Makes several edits, one request each, and stops at the first that fails. In safe mode they
  /// happen on one copy, all of them or none.
  Outcome write(const AudioFile& file, std::span<const Edit> edits,
                const WriteOptions& options = {});

  /// Short for write with Edit::setField.
  Outcome setField(const AudioFile& file, std::string_view key, const TrackValue& value,
                   const WriteOptions& options = {}) {
    return write(file, Edit::setField(key, value), options);
  }
  /// Short for write with Edit::clearField.
  Outcome clearField(const AudioFile& file, std::string_view key,
                     const WriteOptions& options = {}) {
    return write(file, Edit::clearField(key), options);
  }

 private:
  class Connection;
  explicit TagWriter(std::unique_ptr<Connection> connection);

  Outcome send(int fd, const std::string& path, std::span<const Edit> edits);
  Outcome writeSafely(int fd, const std::string& path, std::span<const Edit> edits, bool keepTimes);

  std::unique_ptr<Connection> connection_;
};

/// Reads what is in the file under a field key, as the service writes it for the file's format, so
/// that a player can ask whether a value is really there. Numbers and ratings come back in the
/// field's own type; a rating only as finely as the format keeps it. Nothing when the field is not
/// in the file, the format does not take it, or the file cannot be read.
TAGWRITER_API std::optional<TrackValue> readField(const AudioFile& file, std::string_view key);

}  // namespace tagwriter
