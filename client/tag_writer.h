// The player's side: one object that writes tags through the service.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "protocol/value_dictionary.h"

namespace tagwriter {

/// What came of a request.
struct [[nodiscard]] WriteOutcome {
  enum class Status {
    kWritten,   ///< the service said true
    kRefused,   ///< the service said false: nothing more is known
    kNoAnswer,  ///< no answer came; `detail` says why
  };
  Status status;
  std::string detail;

  bool written() const { return status == Status::kWritten; }
};

/// A player's side of the service, with a worker process of its own. Used by one thread at a time;
/// calls block until the file is written.
class TagWriter {
 public:
  /// `workerProgram` is started at the first request, and again at the next one after its death.
  explicit TagWriter(std::string workerProgram);
  ~TagWriter();
  TagWriter(const TagWriter&) = delete;
  TagWriter& operator=(const TagWriter&) = delete;

  /// Writes the field `key` with its value in `track` into the file behind `fd`, which stays the
  /// caller's and must be open for reading and writing. `path` names the file and is not opened.
  WriteOutcome writeField(int fd, const std::string& path, const std::string& key,
                          ValueDictionary track);

  /// Stores `image` (encoded bytes, lent for the call) as the front cover of the file behind `fd`.
  /// `type` is the image's ArtworkType number. Pictures that are there are replaced, or kept and
  /// the new one refused.
  WriteOutcome writeArtwork(int fd, const std::string& path, std::span<const std::byte> image,
                            std::int64_t type, bool replace);

  /// Removes all pictures from the file behind `fd`.
  WriteOutcome clearArtwork(int fd, const std::string& path);

 private:
  struct Connection;

  bool connect(std::string& error);
  WriteOutcome send(int fd, const std::string& path, ValueDictionary request);

  std::string workerProgram_;
  std::unique_ptr<Connection> connection_;
};

}  // namespace tagwriter
