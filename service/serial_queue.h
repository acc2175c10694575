// Runs one work item at a time in the whole process. The build chooses the implementation.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace tagwriter {

/// A queue that runs work items one at a time, in order of arrival.
class SerialQueue {
 public:
  /// `label` is the queue's name, for debugging.
  explicit SerialQueue(const char* label);
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  /// Runs `work` after all earlier items have ended, while the caller waits. If it throws, the
  /// caller gets the exception, and the queue continues. Must not be called from a work item.
  void runAndWait(const std::function<void()>& work);

  /// The number of items in the queue, including the one that is running.
  std::uint64_t waiting() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tagwriter
