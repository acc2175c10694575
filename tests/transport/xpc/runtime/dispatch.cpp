#include <dispatch/dispatch.h>

#include <mutex>

#include "tests/transport/xpc/runtime/runtime.h"

using tagwriter::test::runtime::QueueRecord;

struct dispatch_queue_s {
  std::string label;
  std::mutex running;
  int itemsRun = 0;
};

namespace {

std::mutex listMutex;
std::vector<dispatch_queue_t> allQueues;

}  // namespace

dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attributes) {
  if (attributes) tagwriter::test::runtime::fail("the queue is not serial");
  const std::lock_guard lock(listMutex);
  allQueues.push_back(new dispatch_queue_s{label, {}});
  return allQueues.back();
}

void dispatch_sync_f(dispatch_queue_t queue, void* context, dispatch_function_t work) {
  const std::lock_guard lock(queue->running);
  ++queue->itemsRun;
  work(context);
}

void dispatch_release(dispatch_queue_t queue) {
  const std::lock_guard lock(listMutex);
  std::erase(allQueues, queue);
  delete queue;
}

namespace tagwriter::test::runtime {

std::vector<QueueRecord> queues() {
  const std::lock_guard lock(listMutex);
  std::vector<QueueRecord> records;
  for (const auto* queue : allQueues) records.push_back({queue->label, queue->itemsRun});
  return records;
}

}  // namespace tagwriter::test::runtime
