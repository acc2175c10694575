// The connection over which the service asks the player to truncate a file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tagwriter {

/// A connection to the player's truncation endpoint. Created by
/// Dictionary::createTruncationConnection and used by one FDFileStream for all its truncations.
class TruncationConnection {
 public:
  virtual ~TruncationConnection() = default;

  /// Asks the player to set the length of the file `fd` to `size` bytes and waits for the reply.
  /// `fd` is borrowed. Returns nullopt if the player replied, otherwise a description of the error.
  virtual std::optional<std::string> truncate(int fd, std::uint64_t size) = 0;
};

}  // namespace tagwriter
