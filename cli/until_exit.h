// Objects that are left as they are when the process exits.
#pragma once

#include <deque>
#include <mutex>
#include <utility>

namespace tagwriter {

/// Makes a T that is never destroyed. The destructors of TagWriter and Reader wait until their
/// processes have exited; a program that exits itself need not.
template <typename T, typename... Arguments>
T& untilExit(Arguments&&... arguments) {
  static std::mutex mutex;
  static std::deque<T>& objects = *new std::deque<T>;
  const std::scoped_lock lock(mutex);
  return objects.emplace_back(std::forward<Arguments>(arguments)...);
}

}  // namespace tagwriter
