#include "service/serial_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>
#include <vector>

namespace tagwriter::test {
namespace {

TEST(SerialQueue, RunsTheWorkBeforeItReturns) {
  SerialQueue queue("label");
  bool done = false;
  queue.runAndWait([&done] { done = true; });
  EXPECT_TRUE(done);
  EXPECT_EQ(queue.label(), "label");
}

TEST(SerialQueue, RunsOneWorkItemAtATimeForManyThreads) {
  constexpr int kThreads = 8;
  constexpr int kItems = 200;
  SerialQueue queue("label");
  std::atomic<int> running = 0;
  std::atomic<int> overlaps = 0;
  int unguarded = 0;  // a sum that only holds when no two items run at once
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kItems; ++i) {
        queue.runAndWait([&] {
          if (++running > 1) ++overlaps;
          const int before = unguarded;
          std::this_thread::yield();
          unguarded = before + 1;
          --running;
        });
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(overlaps, 0);
  EXPECT_EQ(unguarded, kThreads * kItems);
}

TEST(SerialQueue, HandsExceptionsToTheCallerAndGoesOn) {
  SerialQueue queue("label");
  EXPECT_THROW(queue.runAndWait([] { throw std::runtime_error("broken"); }), std::runtime_error);
  bool done = false;
  queue.runAndWait([&done] { done = true; });
  EXPECT_TRUE(done);
}

TEST(SerialQueue, ServesCallersInTheOrderInWhichTheyCame) {
  constexpr int kCallers = 6;
  SerialQueue queue("label");
  std::vector<int> order;
  std::atomic<bool> released = false;
  std::thread first([&] {
    queue.runAndWait([&] {
      while (!released) std::this_thread::yield();
    });
  });
  std::vector<std::thread> callers;
  while (queue.waiting() < 1) std::this_thread::yield();
  for (int caller = 0; caller < kCallers; ++caller) {
    callers.emplace_back([&, caller] { queue.runAndWait([&] { order.push_back(caller); }); });
    // The next caller comes only when this one stands in the queue.
    while (queue.waiting() < static_cast<std::size_t>(caller) + 2) std::this_thread::yield();
  }
  released = true;
  first.join();
  for (std::thread& thread : callers) thread.join();
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

}  // namespace
}  // namespace tagwriter::test
