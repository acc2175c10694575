// Remembers which players on the bus have kept the others waiting.
#pragma once

#include <chrono>
#include <deque>
#include <string>

namespace tagwriter::dbus {

/// How long to wait for each player's truncation endpoint: 10 seconds, or 1 second after it was
/// silent, until it replies again. Players are known by their unique names on the bus. A player
/// with a private connection has no name, and always gets the full time: nobody else waits.
class SilentPlayers {
 public:
  /// The time limit for `player`, which is null for a private connection.
  std::chrono::milliseconds limitFor(const char* player) const;

  /// Notes that `player` let the time pass, or that it replied with success.
  void add(const char* player);
  void remove(const char* player);

 private:
  std::deque<std::string> names_;  ///< the most recent ones
};

}  // namespace tagwriter::dbus
