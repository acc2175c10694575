#include "service/serial_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace tagwriter::test {
namespace {

TEST(SerialQueue, RunsOneWorkItemAtATimeForManyThreads) {
  constexpr int kThreads = 8;
  constexpr int kItems = 200;
  SerialQueue queue("label");
  int sum = 0;  // not atomic: right only if no two items run at once
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kItems; ++i) {
        queue.runAndWait([&] {
          const int before = sum;
          std::this_thread::yield();
          sum = before + 1;
        });
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(sum, kThreads * kItems);
}

TEST(SerialQueue, PassesExceptionsToTheCallerAndContinues) {
  SerialQueue queue("label");
  EXPECT_THROW(queue.runAndWait([] { throw std::runtime_error("broken"); }), std::runtime_error);
  bool done = false;
  queue.runAndWait([&done] { done = true; });
  EXPECT_TRUE(done);
}

TEST(SerialQueue, ServesCallersInTheOrderOfTheirCalls) {
  constexpr int kCallers = 6;
  SerialQueue queue("label");
  std::vector<int> order;
  std::atomic<bool> released = false;
  std::vector<std::thread> callers;
  for (int caller = 0; caller < kCallers; ++caller) {
    callers.emplace_back([&, caller] {
      queue.runAndWait([&, caller] {
        while (!released) std::this_thread::yield();
        order.push_back(caller);
      });
    });
    // The next thread calls only once this one is in the queue.
    while (queue.waiting() < static_cast<std::size_t>(caller) + 1) std::this_thread::yield();
  }
  released = true;
  for (std::thread& thread : callers) thread.join();
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

}  // namespace
}  // namespace tagwriter::test
