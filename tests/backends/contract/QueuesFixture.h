#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/Queues.h"

/// What every kind of queues promises. A backend instantiates both suites with a harness of its own:
///
///     INSTANTIATE_TYPED_TEST_SUITE_P(Virtual, QueuesContract, VirtualHarness);
///     INSTANTIATE_TYPED_TEST_SUITE_P(Virtual, TimersContract, VirtualHarness);
///
/// A harness has `Queues& queues()` and `bool waitUntil(condition)`, which lets time pass and the main queue run until
/// the condition holds, and gives up (false) when that takes absurdly long. No case measures how long something takes;
/// to see that something does not happen, a case waits for something that is due later.
namespace jumplark::contract {

using namespace std::chrono_literals;

/// What happened, in order; written by any thread.
class Log {
 public:
  void add(const std::string& entry) {
    const std::scoped_lock lock(mutex_);
    entries_.push_back(entry);
  }
  Task adding(std::string entry) {
    return [this, entry = std::move(entry)] { add(entry); };
  }
  std::vector<std::string> entries() const {
    const std::scoped_lock lock(mutex_);
    return entries_;
  }
  size_t size() const { return entries().size(); }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> entries_;
};

template <typename Harness>
class QueuesFixture : public ::testing::Test {
 protected:
  Queues& queues() { return harness_.queues(); }
  void waitUntil(const std::function<bool()>& condition) {
    ASSERT_TRUE(harness_.waitUntil(condition)) << "what the case waits for never came";
  }
  /// Lets at least that much time pass.
  void letPass(Duration duration) {
    std::atomic<bool> over{false};
    queues().mainQueue().postAfter(duration, [&] { over = true; });
    waitUntil([&] { return over.load(); });
  }
  /// Runs a task on a queue and waits for its end.
  void runOn(TaskQueue& queue, const Task& task) {
    std::atomic<bool> over{false};
    queue.post([&] {
      task();
      over = true;
    });
    waitUntil([&] { return over.load(); });
  }
  /// Runs a case on the main queue, the high-priority queue and a serial queue in turn.
  void onEachQueue(const std::function<void(TaskQueue&)>& body) {
    const auto serial = queues().makeSerialQueue("serial");
    for (TaskQueue* queue : {&queues().mainQueue(), &queues().highPriorityQueue(), serial.get()}) {
      SCOPED_TRACE(queue->name());
      body(*queue);
    }
  }

 private:
  Harness harness_;
};

}  // namespace jumplark::contract
