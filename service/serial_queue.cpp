#include "service/serial_queue.h"

namespace tagwriter {

/// Waits for the caller's turn, and ends it on destruction, even if the work throws.
class SerialQueue::Turn {
 public:
  explicit Turn(SerialQueue& queue) : queue_(queue) {
    std::unique_lock lock(queue_.mutex_);
    const std::uint64_t ticket = queue_.nextTicket_++;
    queue_.turnEnded_.wait(lock, [&] { return queue_.nowServing_ == ticket; });
  }
  ~Turn() {
    {
      const std::lock_guard lock(queue_.mutex_);
      ++queue_.nowServing_;
    }
    queue_.turnEnded_.notify_all();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  SerialQueue& queue_;
};

void SerialQueue::runAndWait(const std::function<void()>& work) {
  const Turn turn(*this);
  work();
}

std::uint64_t SerialQueue::waiting() const {
  const std::lock_guard lock(mutex_);
  return nextTicket_ - nowServing_;
}

}  // namespace tagwriter
