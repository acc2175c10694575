// Runs one work item at a time in the whole process.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>

namespace tagwriter {

/// A queue that runs work items one at a time, in order of arrival.
class SerialQueue {
 public:
  /// `label` is the queue's name, for debugging.
  explicit SerialQueue(std::string label) : label_(std::move(label)) {}

  /// The queue's name.
  const std::string& label() const { return label_; }

  /// Runs `work` on the calling thread after all earlier items have ended. If it throws, the caller
  /// gets the exception, and the queue continues. Must not be called from a work item.
  void runAndWait(const std::function<void()>& work);

  /// The number of items in the queue, including the one that is running.
  std::uint64_t waiting() const;

 private:
  class Turn;

  std::string label_;
  mutable std::mutex mutex_;
  std::condition_variable turnEnded_;
  std::uint64_t nextTicket_ = 0;
  std::uint64_t nowServing_ = 0;
};

}  // namespace tagwriter
