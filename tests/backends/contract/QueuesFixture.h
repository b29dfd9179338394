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

#include "backends/linux/system/SystemQueues.h"
#include "backends/recorded/VirtualQueues.h"
#include "platform/Queues.h"

/// What every kind of queues promises. No case measures how long something takes; to see that something does not
/// happen, a case waits for something that is due later.
namespace jumplark::contract {

using namespace std::chrono_literals;

/// A harness lets time pass and the main queue run until a condition holds, and gives up when that takes absurdly long.
class VirtualHarness {
 public:
  Queues& queues() { return queues_; }
  bool waitUntil(const std::function<bool()>& condition) { return queues_.advanceUntil(condition, 1h); }

 private:
  VirtualQueues queues_;
};

class SystemHarness {
 public:
  Queues& queues() { return queues_; }
  bool waitUntil(const std::function<bool()>& condition) {
    const Duration end = queues_.monotonicNow() + 30s;
    while (!condition() && queues_.monotonicNow() < end) {
      // A condition that another thread makes true does not wake this one: look again after a moment.
      bool lookAgain = false;
      queues_.mainQueue().postAfter(1ms, [&] { lookAgain = true; });
      queues_.runMainQueueUntil([&] { return lookAgain; });
    }
    return condition();
  }

 private:
  SystemQueues queues_;
};

using Harnesses = ::testing::Types<VirtualHarness, SystemHarness>;

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
