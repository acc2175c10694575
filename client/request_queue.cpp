#include "client/request_queue.h"

#include <pthread.h>
#include <signal.h>

#include <chrono>
#include <system_error>
#include <utility>

namespace tagwriter {
namespace {

/// How long a service may make no progress once the writer is to be destroyed.
constexpr std::chrono::seconds kPatience(2);
constexpr std::chrono::milliseconds kLookAgain(50);

/// Blocks all signals in its scope. New threads inherit the mask, so that the player's signal
/// handlers do not run on our threads.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

void report(const QueuedRequest& request, const Outcome& outcome) {
  if (request.callback) request.callback(outcome);
}

}  // namespace

RequestQueue::~RequestQueue() {
  if (!thread_.joinable()) return;
  std::unique_lock lock(mutex_);
  isClosing_ = true;
  changed_.notify_all();
  while (!changed_.wait_for(lock, kLookAgain, [this] { return isFinished_; })) {
    writer_.hangUpIfStalled(kPatience);
  }
  lock.unlock();
  thread_.join();
}

void RequestQueue::add(QueuedRequest request) {
  {
    const std::scoped_lock lock(mutex_);
    if (thread_.joinable() || startThread()) {
      requests_.push_back(std::move(request));
      changed_.notify_all();
      return;
    }
  }
  report(request, {Status::kServiceUnavailable, "no thread can be started"});
}

void RequestQueue::waitUntilDone(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(mutex_);
  if (thread_.get_id() == std::this_thread::get_id()) return;
  const auto isDone = [this] { return requests_.empty() && !isBusy_; };
  if (deadline == decltype(deadline)()) {
    changed_.wait(lock, isDone);
  } else {
    changed_.wait_until(lock, deadline, isDone);
  }
}

bool RequestQueue::startThread() {
  const SignalsBlocked blocked;
  try {
    thread_ = std::thread([this] { run(); });
    isFinished_ = false;
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

void RequestQueue::run() {
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return isClosing_ || !requests_.empty(); });
    if (requests_.empty()) break;
    QueuedRequest request = std::move(requests_.front());
    requests_.pop_front();
    isBusy_ = true;
    const bool isCancelled = isClosing_;
    lock.unlock();
    process(std::move(request), isCancelled);
    lock.lock();
    isBusy_ = false;
    changed_.notify_all();
  }
  isFinished_ = true;
  changed_.notify_all();
}

void RequestQueue::process(QueuedRequest request, bool isCancelled) {
  Outcome outcome = Status::kCancelled;
  if (!isCancelled) outcome = writer_.write(request.file, request.edits, request.options);
  report(request, outcome);
}

}  // namespace tagwriter
