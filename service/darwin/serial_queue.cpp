#include "service/serial_queue.h"

#include <dispatch/dispatch.h>

#include <atomic>
#include <exception>

namespace tagwriter {
namespace {

/// Work and the exception with which it ended: an exception must not pass through dispatch.
struct Item {
  const std::function<void()>& work;
  std::exception_ptr exception;
};

void runItem(void* context) {
  auto& item = *static_cast<Item*>(context);
  try {
    item.work();
  } catch (...) {
    item.exception = std::current_exception();
  }
}

}  // namespace

struct SerialQueue::State {
  explicit State(const char* label) : queue(dispatch_queue_create(label, nullptr)) {}

  dispatch_queue_t queue;
  std::atomic<std::uint64_t> waiting = 0;
};

SerialQueue::SerialQueue(const char* label) : state_(std::make_unique<State>(label)) {}

SerialQueue::~SerialQueue() {
  dispatch_release(state_->queue);
}

void SerialQueue::runAndWait(const std::function<void()>& work) {
  Item item{work, nullptr};
  ++state_->waiting;
  dispatch_sync_f(state_->queue, &item, runItem);
  --state_->waiting;
  if (item.exception) std::rethrow_exception(item.exception);
}

std::uint64_t SerialQueue::waiting() const {
  return state_->waiting;
}

}  // namespace tagwriter
