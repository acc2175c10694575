// The client library of the tag writer service.
//
//   tagwriter::TagWriter writer;                              // private worker process
//   auto outcome = writer.setField("song.flac", "title", "Morgen früh");
//   if (!outcome) std::cerr << outcome.message() << '\n';
//
// The service answers only true or false. To report the cause of a failure, this library checks
// files and values before it sends a request, and looks for the reason after a refusal, with a
// status for each problem. TagWriter::check does this without writing. readField reads a value back
// afterwards.
//
// The player's process parses no audio file: the service, tagwriterd, does that when it writes, and
// a second private process, tagreaderd, when something is read. It is started when it is needed for
// the first time: by readField and check, before a cover that is to replace nothing or a number of
// tracks that the format keeps beside the track number, in safe mode, which checks the edited copy,
// and after a refusal. It gets descriptors for reading only. If it dies, the outcome is kUnreadable
// or kCopyUnreadable, and the next request starts a new one.
//
// The headers need only the standard library.
#pragma once

#include <chrono>
#include <concepts>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <future>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "edit.h"
#include "export.h"
#include "outcome.h"
#include "tagwriter/version.h"
#include "text.h"

namespace tagwriter {

class RequestQueue;
class UniqueFd;
class ValueDictionary;

/// The version of the shared library that is loaded, as in TAGWRITER_VERSION_STRING.
TAGWRITER_API const char* version() noexcept;

/// What can name a file: a std::filesystem::path or a text.
template <typename Name>
concept FileName =
    std::convertible_to<const Name&, std::string_view> || std::same_as<Name, std::filesystem::path>;

/// An audio file: a path, opened for each request, or a descriptor that the caller has opened for
/// reading and writing, with a path that only names it.
class TAGWRITER_API AudioFile {
 public:
  template <FileName Name>
  AudioFile(const Name& path) : path_(textOf(path)) {}  // NOLINT(google-explicit-constructor)
  AudioFile(std::nullptr_t) = delete;
  /// `fd` stays open and owned by the caller; its offset moves.
  template <FileName Name>
  AudioFile(int fd, const Name& path) : fd_(fd), path_(textOf(path)) {}
  AudioFile(int, std::nullptr_t) = delete;

  /// The caller's descriptor; nullopt if there is only a path.
  std::optional<int> fd() const { return fd_; }
  const std::string& path() const { return path_; }

 private:
  template <FileName Name>
  static std::string_view textOf(const Name& path) {
    if constexpr (std::same_as<Name, std::filesystem::path>)
      return path.native();
    else
      return path;
  }

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
  /// Write into any file, whatever its name and its first bytes: without kUnknownType,
  /// kOtherContent and kEmptyFile. A file with an unknown extension is edited like an MP3, which
  /// ruins most others.
  bool anyFile = false;
  /// When a stop is requested, nothing more is sent to the service, and the outcome is kCancelled.
  /// A request that has been sent is carried out: only the deadline ends that.
  std::stop_token stop = {};
  /// The time at which the outcome is kTimedOut, unless it is known by then. A private worker that
  /// has not answered is killed, which can damage a file that is edited in place; on the session
  /// bus, the service may still carry the request out. Outcome::mayHaveTouchedFile says whether it
  /// had been sent. Without a deadline, a service that hangs is waited for forever.
  std::chrono::steady_clock::time_point deadline = {};

  /// Room for later options: all zero is what they mean where a program does not know them.
  unsigned char reserved[48] = {};
};

/// Receives the outcome of a request on a thread of the library, where all signals are blocked. May
/// make further requests, but not destroy the writer. Must not throw. It should be short: the next
/// request waits for its return.
using WriteCallback = std::function<void(const Outcome& outcome)>;

/// Writes tags through the service. Calls block until the file is written, except writeAsync. An
/// object may be used from several threads, but only from one at a time. A moved-from object can
/// only be assigned to or destroyed. Nothing here throws anything but std::bad_alloc. A worker that
/// dies between two requests stays a zombie until the next one.
class TAGWRITER_API TagWriter {
 public:
  /// Uses a private worker process, started at the first request and restarted if it dies.
  /// `workerProgram` is the path of tagwriterd; if empty, it is searched for next to the running
  /// program and in the libexec directory of the installation. The reader is the tagreaderd next to
  /// `workerProgram`, or else it is searched for in the same way.
  explicit TagWriter(const std::filesystem::path& workerProgram = {});
  /// Uses the service on the session bus, which starts it on demand. The reader is private.
  static TagWriter onSessionBus();

  TagWriter(TagWriter&&) noexcept;
  TagWriter& operator=(TagWriter&&) noexcept;
  /// Requests of writeAsync that have not begun end with kCancelled. The one under way is waited
  /// for as long as the worker makes progress; after two seconds without, the worker is killed. (On
  /// the session bus: after two seconds, the service is left alone.) All callbacks have been called
  /// when this returns.
  ~TagWriter();

  /// Writes one edit.
  Outcome write(const AudioFile& file, const Edit& edit, const WriteOptions& options = {});
  /// Writes several edits, one request each, in order, but the number of tracks after a track
  /// number; stops at the first failure. In safe mode they are made on one copy: all of them or
  /// none.
  Outcome write(const AudioFile& file, std::span<const Edit> edits,
                const WriteOptions& options = {});
  /// The same for a list in braces.
  Outcome write(const AudioFile& file, std::initializer_list<Edit> edits,
                const WriteOptions& options = {}) {
    return write(file, std::span(edits.begin(), edits.size()), options);
  }

  /// Does the same as write on a thread of the library, and passes the outcome to `callback` there,
  /// unless that is empty. Returns at once. The requests of a writer are carried out in order, by a
  /// worker that is theirs; calls that block first wait until all of them are done. A descriptor of
  /// the caller's in `file` is duplicated and may be closed; the image of a cover must be kept
  /// until the callback.
  void writeAsync(const AudioFile& file, std::vector<Edit> edits, const WriteOptions& options,
                  WriteCallback callback);
  /// The same, with a future. Unlike that of std::async, it does not wait when it is destroyed.
  std::future<Outcome> writeAsync(const AudioFile& file, std::vector<Edit> edits,
                                  const WriteOptions& options = {});

  /// Returns what write would return, and changes nothing: for a dry run. Makes the checks of a
  /// write, and reads the file to see what the service would refuse. It cannot know of failures to
  /// come: a full disk, or a worker that dies.
  Outcome check(const AudioFile& file, std::span<const Edit> edits,
                const WriteOptions& options = {});
  /// The same for one edit.
  Outcome check(const AudioFile& file, const Edit& edit, const WriteOptions& options = {}) {
    return check(file, std::span(&edit, 1), options);
  }
  /// The same for a list in braces.
  Outcome check(const AudioFile& file, std::initializer_list<Edit> edits,
                const WriteOptions& options = {}) {
    return check(file, std::span(edits.begin(), edits.size()), options);
  }

  /// Shorthand for write with Edit::setField.
  template <typename Value>
  requires requires(Text key, const Value& value) { Edit::setField(key, value); }
  Outcome setField(const AudioFile& file, Text key, const Value& value,
                   const WriteOptions& options = {}) {
    return write(file, Edit::setField(key, value), options);
  }
  /// Shorthand for write with Edit::clearField.
  Outcome clearField(const AudioFile& file, Text key, const WriteOptions& options = {}) {
    return write(file, Edit::clearField(key), options);
  }

 private:
  friend class RequestQueue;
  class Connection;
  explicit TagWriter(std::unique_ptr<Connection> connection);

  void hangUpIfStalled(std::chrono::milliseconds limit);
  Outcome begin(const AudioFile& file, const WriteOptions& options, UniqueFd& fd);
  Outcome withLog(Outcome outcome);
  Outcome checkNow(const AudioFile& file, std::span<const Edit> edits, const WriteOptions& options);
  static std::vector<std::size_t> sendingOrder(std::span<const Edit> edits);
  Outcome checkEach(int fd, const std::string& path, std::span<const Edit> edits);
  Outcome writeNow(const AudioFile& file, std::span<const Edit> edits, const WriteOptions& options);
  Outcome send(int fd, const std::string& path, std::span<const Edit> edits);
  Outcome sendOne(int fd, const std::string& path, const Edit& edit);
  Outcome whyRefused(int fd, const std::string& path, const ValueDictionary& request);
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
  explicit TagReader(const std::filesystem::path& readerProgram = {});
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
  std::optional<TrackValue> readField(const AudioFile& file, Text key, Outcome* outcome = nullptr);

 private:
  std::unique_ptr<Reader> reader_;
};

/// Reads one field with a TagReader of its own, which starts and ends a process: to read several,
/// keep a TagReader.
TAGWRITER_API std::optional<TrackValue> readField(const AudioFile& file, Text key);

}  // namespace tagwriter
