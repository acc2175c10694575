#include "service/serial_queue.h"

#include <condition_variable>
#include <mutex>
#include <string>

namespace tagwriter {

struct SerialQueue::State {
  /// Waits for the caller's turn.
  void beginTurn() {
    std::unique_lock lock(mutex);
    const std::uint64_t ticket = nextTicket++;
    turnEnded.wait(lock, [&] { return nowServing == ticket; });
  }
  void endTurn() {
    {
      const std::lock_guard lock(mutex);
      ++nowServing;
    }
    turnEnded.notify_all();
  }

  std::string label;
  std::mutex mutex;
  std::condition_variable turnEnded;
  std::uint64_t nextTicket = 0;
  std::uint64_t nowServing = 0;
};

SerialQueue::SerialQueue(const char* label) : state_(std::make_unique<State>()) {
  state_->label = label;
}

SerialQueue::~SerialQueue() = default;

void SerialQueue::runAndWait(const std::function<void()>& work) {
  /// Ends the turn even if the work throws.
  struct Turn {
    explicit Turn(State& queue) : queue(queue) { queue.beginTurn(); }
    ~Turn() { queue.endTurn(); }
    State& queue;
  };
  const Turn turn(*state_);
  work();
}

std::uint64_t SerialQueue::waiting() const {
  const std::lock_guard lock(state_->mutex);
  return state_->nextTicket - state_->nowServing;
}

}  // namespace tagwriter
