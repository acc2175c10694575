#include "transport/dbus/silent_players.h"

#include <algorithm>
#include <cstddef>

namespace tagwriter::dbus {
namespace {

constexpr std::chrono::seconds kFullTime(10);
constexpr std::chrono::seconds kTimeIfSilent(1);
/// Names are never used again, so old ones may be forgotten.
constexpr std::size_t kMaxNames = 64;

}  // namespace

std::chrono::milliseconds SilentPlayers::limitFor(const char* player) const {
  const bool silent = player && std::find(names_.begin(), names_.end(), player) != names_.end();
  return silent ? kTimeIfSilent : kFullTime;
}

void SilentPlayers::add(const char* player) {
  if (!player) return;
  remove(player);
  if (names_.size() == kMaxNames) names_.pop_front();
  names_.emplace_back(player);
}

void SilentPlayers::remove(const char* player) {
  if (player) std::erase(names_, player);
}

}  // namespace tagwriter::dbus
