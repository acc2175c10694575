// One work item at a time in the whole process.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>

namespace tagwriter {

/// A queue that runs work items one after the other, in the order of arrival.
class SerialQueue {
 public:
  /// `label` names the queue for people who debug.
  explicit SerialQueue(std::string label) : label_(std::move(label)) {}

  /// The queue's name.
  const std::string& label() const { return label_; }

  /// Runs `work` after all earlier items and returns when it has ended. What it throws reaches the
  /// caller, and the queue goes on. Must not be called from a work item.
  void runAndWait(const std::function<void()>& work);

  /// How many items are in the queue, the one that runs included.
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
