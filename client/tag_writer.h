// The client library of the tag writer service.
//
//   tagwriter::TagWriter writer;                              // private worker process
//   auto outcome = writer.setField("song.flac", "title", "Morgen früh");
//   if (!outcome) std::cerr << outcome.message() << '\n';
//
// The service answers only true or false. To report the cause of a failure, this library checks
// files and values before it sends a request, with a status for each problem. readField reads a
// value back afterwards.
//
// The player's process parses no audio file: the service, tagwriterd, does that when it writes, and
// a second private process, tagreaderd, when something is read. It is started when it is needed for
// the first time: by readField, before a cover that is to replace nothing, and in safe mode, which
// checks the edited copy. It gets descriptors for reading only. If it dies, the outcome is
// kUnreadable or kCopyUnreadable, and the next request starts a new one.
//
// This header needs only the standard library.
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

/// The value of a field, in the type of the field: UTF-8 text, an integer, a decimal or a flag.
using TrackValue = std::variant<std::string, std::int64_t, double, bool>;

/// Result of a request.
enum class Status {
  kWritten,  ///< the service answered true
  kRefused,  ///< the service answered false, and the file is as it was: the content does not match
             ///< the file name, the format does not support the change, or the disk is full
  kIncomplete,          ///< writes failed half way; in place, the file may be damaged
  kNoAnswer,            ///< the service died during the request; in place, the file may be damaged
  kServiceUnavailable,  ///< cannot start or reach the service; nothing was sent
  kUnknownField,        ///< no such field, or a value of the wrong type
  kInvalidText,         ///< a text is not valid UTF-8 or contains a zero byte
  kNotFound,            ///< the file cannot be opened
  kNotRegularFile,      ///< a directory, a device or a pipe
  kNotWritable,         ///< the file is not writable, or the caller's descriptor is not O_RDWR
  kOpenedForAppend,     ///< the caller's descriptor is O_APPEND: all writes would go to the end
  kFileTooLarge,        ///< the file would exceed the 4 GiB limit of its format
  kRequestTooLarge,     ///< the request would reach 64 MiB, the limit of the protocol
  kHasPicture,          ///< the file already has a picture, and `replace` is false
  kCopyFailed,          ///< safe mode: cannot make a complete copy; the file is unchanged
  kCopyUnreadable,      ///< safe mode: the edited copy is unreadable; the file is unchanged
  kReplaceFailed,       ///< safe mode: cannot replace the file with the copy; it is unchanged
  kTimesNotKept,        ///< in place: written, but the modification time could not be restored
  kUnreadable,          ///< the file, which is unchanged, could not be read; nothing was sent
};

/// The status of a request, with details.
struct [[nodiscard]] TAGWRITER_API Outcome {
  Status status = Status::kWritten;
  std::string detail = {};  ///< the cause, for example an error of the system; may be empty
  std::size_t edit = 0;     ///< index of the edit that failed

  /// True if the change was written.
  explicit operator bool() const { return status == Status::kWritten; }
  /// A message for users: the status and the detail.
  std::string message() const;
};

/// An audio file: a path, opened for each request, or a descriptor that the caller has opened for
/// reading and writing, with a path that only names it.
class TAGWRITER_API AudioFile {
 public:
  AudioFile(std::string path) : path_(std::move(path)) {}  // NOLINT(google-explicit-constructor)
  AudioFile(const char* path) : path_(path) {}             // NOLINT(google-explicit-constructor)
  /// `fd` stays open and owned by the caller; its offset moves.
  AudioFile(int fd, std::string path) : fd_(fd), path_(std::move(path)) {}

  /// The caller's descriptor; nullopt if there is only a path.
  std::optional<int> fd() const { return fd_; }
  const std::string& path() const { return path_; }

 private:
  std::optional<int> fd_;
  std::string path_;
};

/// How to write.
struct WriteOptions {
  /// Edit a copy in the same directory and rename it over the file only if everything succeeded.
  /// Until then the file is unchanged, whatever happens. The file gets a new inode: hard links and
  /// open descriptors keep the old content.
  bool safe = false;
  /// Restore the modification time, except after kIncomplete and kNoAnswer in place.
  bool keepTimes = false;
};

/// Formats of cover art.
enum class ImageType : std::int64_t {
  kOther = 0,
  kPNG = 1,
  kJPEG = 2,
  kTIFF = 3,
  kGIF = 4,
  kBMP = 5
};

/// Detects the format by the first bytes; kOther if it is none of the five.
TAGWRITER_API ImageType detectImageType(std::span<const std::byte> image);

class ValueDictionary;

/// One change to a file's tags, reusable for any number of files.
class TAGWRITER_API Edit {
 public:
  /// Sets a field. `key` is a field key ("title", "trackNumber", ...), `value` has its type. The
  /// number of discs can only be set with setDisc. An unknown key or a value of the wrong type is
  /// reported as kUnknownField when the edit is written.
  static Edit setField(std::string_view key, const TrackValue& value);
  /// Clears a field.
  static Edit clearField(std::string_view key);
  /// Sets the disc number and the number of discs; 0 means unknown.
  static Edit setDisc(std::int64_t number, std::int64_t total);
  /// Sets the front cover to the encoded image `cover`, which must outlive the edit. Existing
  /// pictures are replaced if `replace` is true; otherwise a file with a picture is left unchanged
  /// (kHasPicture).
  static Edit setCover(std::span<const std::byte> cover, ImageType type, bool replace);
  /// Removes all pictures.
  static Edit clearCovers();

 private:
  friend class TagWriter;
  explicit Edit(Outcome problem) : problem_(std::move(problem)) {}
  explicit Edit(ValueDictionary request);

  Outcome problem_;
  std::shared_ptr<const ValueDictionary> request_;
};

/// Writes tags through the service. Calls block until the file is written. An object may be used
/// from several threads, but only from one at a time. A moved-from object can only be assigned to
/// or destroyed. Nothing here throws anything but std::bad_alloc. A worker that dies between two
/// requests stays a zombie until the next one.
class TAGWRITER_API TagWriter {
 public:
  /// Uses a private worker process, started at the first request and restarted if it dies.
  /// `workerProgram` is the path of tagwriterd; if empty, it is searched for next to the running
  /// program and in the libexec directory of the installation. The reader is the tagreaderd next to
  /// `workerProgram`, or else it is searched for in the same way.
  explicit TagWriter(std::string workerProgram = {});
  /// Uses the service on the session bus, which starts it on demand. The reader is private.
  static TagWriter onSessionBus();

  TagWriter(TagWriter&&) noexcept;
  TagWriter& operator=(TagWriter&&) noexcept;
  ~TagWriter();

  /// Writes one edit.
  Outcome write(const AudioFile& file, const Edit& edit, const WriteOptions& options = {});
  /// Writes several edits, one request each, and stops at the first failure. In safe mode they are
  /// made on one copy: all of them or none.
  Outcome write(const AudioFile& file, std::span<const Edit> edits,
                const WriteOptions& options = {});

  /// Shorthand for write with Edit::setField.
  Outcome setField(const AudioFile& file, std::string_view key, const TrackValue& value,
                   const WriteOptions& options = {}) {
    return write(file, Edit::setField(key, value), options);
  }
  /// Shorthand for write with Edit::clearField.
  Outcome clearField(const AudioFile& file, std::string_view key,
                     const WriteOptions& options = {}) {
    return write(file, Edit::clearField(key), options);
  }

 private:
  class Connection;
  explicit TagWriter(std::unique_ptr<Connection> connection);

  Outcome send(int fd, const std::string& path, std::span<const Edit> edits);
  Outcome check(int fd, const std::string& path, const ValueDictionary& request);
  Outcome checkCopy(int copy, const std::string& path);
  Outcome writeSafely(int fd, const std::string& path, std::span<const Edit> edits, bool keepTimes);

  std::unique_ptr<Connection> connection_;
};

class Reader;

/// Reads fields. An object may be used from several threads, but only from one at a time. A
/// moved-from object can only be assigned to or destroyed. Nothing here throws anything but
/// std::bad_alloc.
class TAGWRITER_API TagReader {
 public:
  /// Uses a private reader process, started at the first request and restarted if it dies.
  /// `readerProgram` is the path of tagreaderd; if empty, it is searched for like tagwriterd.
  explicit TagReader(std::string readerProgram = {});
  TagReader(TagReader&&) noexcept;
  TagReader& operator=(TagReader&&) noexcept;
  ~TagReader();

  /// Reads a field from where the service writes it in the format of the file, to check what was
  /// really stored. The value has the type of the field; a rating has the precision of the format.
  /// The file need not be writable. Returns nullopt if the field is absent, the format does not
  /// support it, or the file cannot be read.
  /// If `outcome` is not null, it is set to what happened: a success if the file was read, even if
  /// it does not have the field, or kUnknownField, kNotFound, kNotRegularFile, kUnreadable or
  /// kServiceUnavailable.
  std::optional<TrackValue> readField(const AudioFile& file, std::string_view key,
                                      Outcome* outcome = nullptr);

 private:
  std::unique_ptr<Reader> reader_;
};

/// Reads one field with a TagReader of its own, which starts and ends a process: to read several,
/// keep a TagReader.
TAGWRITER_API std::optional<TrackValue> readField(const AudioFile& file, std::string_view key);

}  // namespace tagwriter
