// Requests that are carried out in order, on a thread of the library.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "base/unique_fd.h"
#include "client/tag_writer.h"

namespace tagwriter {

/// One call of writeAsync.
struct QueuedRequest {
  AudioFile file;
  UniqueFd fd;  ///< a duplicate of the caller's, if `file` has one
  std::vector<Edit> edits;
  WriteOptions options;
  WriteCallback callback;
};

/// Carries out requests one after the other. The thread is started with the first.
class RequestQueue {
 public:
  /// `writer` is for this queue alone.
  explicit RequestQueue(TagWriter writer) : writer_(std::move(writer)) {}
  /// Cancels what has not begun, and waits for the request under way as long as the service makes
  /// progress. All callbacks have been called then.
  ~RequestQueue();
  RequestQueue(const RequestQueue&) = delete;
  RequestQueue& operator=(const RequestQueue&) = delete;

  /// Adds a request. If no thread can be started, its callback is called here.
  void add(QueuedRequest request);

  /// Waits until all requests have been carried out, or until `deadline`, if that is not zero.
  /// Returns at once in a callback.
  void waitUntilDone(std::chrono::steady_clock::time_point deadline);

 private:
  bool startThread();
  void run();
  void process(QueuedRequest request, bool isCancelled);

  TagWriter writer_;
  std::mutex mutex_;  // of what follows
  std::condition_variable changed_;
  std::deque<QueuedRequest> requests_;  ///< without the one under way
  bool isBusy_ = false;
  bool isClosing_ = false;
  bool isFinished_ = true;
  std::thread thread_;
};

}  // namespace tagwriter
