// The second channel of a request, on which the player shortens the file for the service.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tagwriter {

/// A connection to the player's truncation endpoint. Made by
/// Dictionary::createTruncationConnection, used by one file stream for every truncation of its
/// life.
class TruncationConnection {
 public:
  virtual ~TruncationConnection() = default;

  /// Asks the player to set the length of the file behind `fd` to `size` bytes, and waits for the
  /// answer. `fd` is only lent. Returns nothing when the player answered that it is done, and a
  /// description of the error otherwise.
  virtual std::optional<std::string> truncate(int fd, std::uint64_t size) = 0;
};

}  // namespace tagwriter
