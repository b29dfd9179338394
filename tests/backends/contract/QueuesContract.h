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

/// What every kind of queues promises. A backend instantiates QueuesContract with a harness of its own:
///
///     INSTANTIATE_TYPED_TEST_SUITE_P(Virtual, QueuesContract, VirtualQueuesHarness);
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
class QueuesContract : public ::testing::Test {
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

TYPED_TEST_SUITE_P(QueuesContract);

TYPED_TEST_P(QueuesContract, RunsTasksInTheOrderOfPosting) {
  this->onEachQueue([&](TaskQueue& queue) {
    Log log;
    for (const char* entry : {"a", "b", "c", "d"}) {
      queue.post(log.adding(entry));
    }
    this->waitUntil([&] { return log.size() == 4; });
    EXPECT_THAT(log.entries(), ::testing::ElementsAre("a", "b", "c", "d"));
  });
}

TYPED_TEST_P(QueuesContract, RunsDelayedTasksByDueTimeThenByPosting) {
  this->onEachQueue([&](TaskQueue& queue) {
    Log log;
    // Posted in one go by a task, so that none of them is due before all are there.
    queue.post([&] {
      queue.postAfter(300ms, log.adding("late"));
      queue.postAfter(20ms, log.adding("early"));
      queue.postAfter(0ms, log.adding("first"));
      queue.post(log.adding("second"));
      queue.postAfter(-5ms, log.adding("third"));
      log.add("posted");
    });
    this->waitUntil([&] { return log.size() == 6; });
    EXPECT_EQ(log.entries().front(), "posted");
    EXPECT_EQ(log.entries()[4], "early");
    EXPECT_EQ(log.entries()[5], "late");
    EXPECT_THAT(log.entries(), ::testing::IsSupersetOf({"first", "second", "third"}));
  });
}

TYPED_TEST_P(QueuesContract, NeverRunsADelayedTaskEarly) {
  this->onEachQueue([&](TaskQueue& queue) {
    const Duration posted = this->queues().monotonicNow();
    std::atomic<Duration::rep> ran{0};
    queue.postAfter(15ms, [&] { ran = this->queues().monotonicNow().count(); });
    this->waitUntil([&] { return ran != 0; });
    EXPECT_GE(Duration(ran) - posted, 15ms);
  });
}

TYPED_TEST_P(QueuesContract, RunsWhatATaskPostsAfterTheTasksThatWait) {
  this->onEachQueue([&](TaskQueue& queue) {
    Log log;
    queue.post([&] {
      queue.post([&] {
        log.add("outer");
        queue.post(log.adding("inner"));
        log.add("outer ends");
      });
      queue.post(log.adding("waiting"));
    });
    this->waitUntil([&] { return log.size() == 4; });
    EXPECT_THAT(log.entries(), ::testing::ElementsAre("outer", "outer ends", "waiting", "inner"));
  });
}

TYPED_TEST_P(QueuesContract, KnowsWhichQueueIsCurrent) {
  this->onEachQueue([&](TaskQueue& queue) {
    const auto other = this->queues().makeSerialQueue("other");
    this->runOn(queue, [&] {
      EXPECT_TRUE(queue.isCurrent());
      EXPECT_FALSE(other->isCurrent());
    });
    this->runOn(*other, [&] {
      EXPECT_FALSE(queue.isCurrent());
      EXPECT_TRUE(other->isCurrent());
    });
  });
}

TYPED_TEST_P(QueuesContract, OtherQueuesRunWhileOneSleeps) {
  const auto sleeper = this->queues().makeSerialQueue("sleeper");
  const auto other = this->queues().makeSerialQueue("other");
  Log log;
  sleeper->post([&] {
    log.add("falls asleep");
    other->postAfter(5ms, log.adding("other"));
    while (log.size() < 2) {
      this->queues().sleep(10ms);
    }
    log.add("wakes");
  });
  sleeper->post(log.adding("next"));
  this->waitUntil([&] { return log.size() == 4; });
  EXPECT_THAT(log.entries(), ::testing::ElementsAre("falls asleep", "other", "wakes", "next"));
}

TYPED_TEST_P(QueuesContract, AWaitEndsWhileALaterOneGoesOn) {
  const auto first = this->queues().makeSerialQueue("first");
  const auto second = this->queues().makeSerialQueue("second");
  const auto started = this->queues().makeCompletion();
  const auto ended = this->queues().makeCompletion();
  Log log;
  first->post([&] {
    log.add(started->wait(1h) ? "second waits" : "second never started");
    this->queues().sleep(5ms);
    log.add("first ends");
    ended->signal();
  });
  second->post([&] {
    started->signal();
    log.add(ended->wait(1h) ? "second ends" : "second timed out");
  });
  this->waitUntil([&] { return log.size() == 3; });
  EXPECT_THAT(log.entries(), ::testing::ElementsAre("second waits", "first ends", "second ends"));
}

TYPED_TEST_P(QueuesContract, ClocksGoOnAndNeverBack) {
  const Duration monotonic = this->queues().monotonicNow();
  const Duration wall = this->queues().wallClockNow();
  this->letPass(5ms);
  EXPECT_GE(this->queues().monotonicNow() - monotonic, 5ms);
  EXPECT_GE(this->queues().wallClockNow() - wall, 4ms);
  EXPECT_GT(this->queues().wallClockNow(), std::chrono::hours(24 * 365 * 40));
}

TYPED_TEST_P(QueuesContract, ACompletionEndsTheWaitOfAnotherQueue) {
  const auto waiter = this->queues().makeSerialQueue("waiter");
  const auto completion = this->queues().makeCompletion();
  Log log;
  waiter->post([&] { log.add(completion->wait(1h) ? "signalled" : "timed out"); });
  this->queues().highPriorityQueue().postAfter(5ms, [&] {
    log.add("signals");
    completion->signal();
    completion->signal();
  });
  this->waitUntil([&] { return log.size() == 2; });
  EXPECT_THAT(log.entries(), ::testing::ElementsAre("signals", "signalled"));
  EXPECT_TRUE(completion->wait(0ms));
  EXPECT_TRUE(completion->wait(Duration::max()));
}

TYPED_TEST_P(QueuesContract, AWaitThatNobodyEndsTimesOut) {
  const auto completion = this->queues().makeCompletion();
  const Duration start = this->queues().monotonicNow();
  EXPECT_FALSE(completion->wait(10ms));
  EXPECT_GE(this->queues().monotonicNow() - start, 10ms);
  EXPECT_FALSE(completion->wait(0ms));
  EXPECT_FALSE(completion->wait(-1ms));
}

TYPED_TEST_P(QueuesContract, SeveralWaitersAreAllReleased) {
  const auto completion = this->queues().makeCompletion();
  std::vector<std::shared_ptr<TaskQueue>> waiters;
  std::atomic<int> released{0};
  for (int i = 0; i < 4; ++i) {
    waiters.push_back(this->queues().makeSerialQueue("waiter"));
    waiters.back()->post([&] { released += completion->wait(1h) ? 1 : 0; });
  }
  this->queues().mainQueue().postAfter(5ms, [&] { completion->signal(); });
  this->waitUntil([&] { return released == 4; });
}

TYPED_TEST_P(QueuesContract, ATimerIsMadeSuspended) {
  this->onEachQueue([&](TaskQueue& queue) {
    Log log;
    const auto timer = this->queues().makeRepeatingTimer(queue, 1ms, 1ms, 0ms, log.adding("tick"));
    this->letPass(20ms);
    this->runOn(queue, [] {});
    EXPECT_EQ(log.size(), 0U);
  });
}

TYPED_TEST_P(QueuesContract, ATimerCallsAtItsStartAndThenAtEveryInterval) {
  this->onEachQueue([&](TaskQueue& queue) {
    std::mutex mutex;
    std::vector<Duration> ticks;
    const Duration resumed = this->queues().monotonicNow();
    const auto timer = this->queues().makeRepeatingTimer(queue, 20ms, 10ms, 1ms, [&] {
      const std::scoped_lock lock(mutex);
      ticks.push_back(this->queues().monotonicNow() - resumed);
    });
    timer->resume();
    timer->resume();  // changes nothing
    this->waitUntil([&] {
      const std::scoped_lock lock(mutex);
      return ticks.size() >= 4;
    });
    timer->suspend();
    for (size_t i = 0; i < ticks.size(); ++i) {
      EXPECT_GE(ticks[i], 20ms + static_cast<int>(i) * 10ms) << "tick " << i;
    }
  });
}

TYPED_TEST_P(QueuesContract, ATimerOfZeroStartCallsAtOnce) {
  this->onEachQueue([&](TaskQueue& queue) {
    std::atomic<int> ticks{0};
    const auto timer = this->queues().makeRepeatingTimer(queue, 0ms, 24h, 0ms, [&] { ++ticks; });
    timer->resume();
    this->waitUntil([&] { return ticks == 1; });
  });
}

TYPED_TEST_P(QueuesContract, TicksThatWereMissedAreNotMadeUpFor) {
  const auto queue = this->queues().makeSerialQueue("timer");
  std::atomic<int> ticks{0};
  const auto timer = this->queues().makeRepeatingTimer(*queue, 1ms, 50ms, 0ms, [&] {
    if (ticks++ == 0) {
      this->queues().sleep(475ms);
    }
  });
  const Duration start = this->queues().monotonicNow();
  timer->resume();
  this->waitUntil([&] { return ticks >= 3; });
  // The second tick comes at 501 ms at the earliest, the third 50 ms later; made up for, both would come at 476 ms.
  EXPECT_GE(this->queues().monotonicNow() - start, 551ms);
}

TYPED_TEST_P(QueuesContract, ASuspendedTimerStaysSilentAndStartsAfresh) {
  this->onEachQueue([&](TaskQueue& queue) {
    std::atomic<int> ticks{0};
    const auto timer = this->queues().makeRepeatingTimer(queue, 2ms, 2ms, 0ms, [&] { ++ticks; });
    timer->resume();
    this->waitUntil([&] { return ticks >= 2; });
    timer->suspend();
    const int atSuspend = ticks;
    this->letPass(20ms);
    this->runOn(queue, [] {});
    EXPECT_EQ(ticks, atSuspend);
    timer->resume();
    this->waitUntil([&] { return ticks > atSuspend; });
  });
}

TYPED_TEST_P(QueuesContract, ADestroyedTimerCallsNoMore) {
  this->onEachQueue([&](TaskQueue& queue) {
    std::atomic<int> ticks{0};
    auto timer = this->queues().makeRepeatingTimer(queue, 2ms, 2ms, 0ms, [&] { ++ticks; });
    timer->resume();
    this->waitUntil([&] { return ticks >= 1; });
    timer.reset();
    const int atEnd = ticks;
    this->letPass(20ms);
    this->runOn(queue, [] {});
    EXPECT_EQ(ticks, atEnd);
  });
}

TYPED_TEST_P(QueuesContract, DestroyingATimerWaitsForItsRunningCallAndFreesWhatItHeld) {
  const auto queue = this->queues().makeSerialQueue("timer");
  std::atomic<bool> started{false};
  std::atomic<bool> ended{false};
  const auto held = std::make_shared<int>(0);
  auto timer = this->queues().makeRepeatingTimer(*queue, 0ms, 1h, 0ms, [&, held] {
    started = true;
    this->queues().sleep(30ms);
    ended = true;
  });
  timer->resume();
  this->waitUntil([&] { return started.load(); });
  timer.reset();
  EXPECT_TRUE(ended);
  this->runOn(*queue, [] {});
  EXPECT_EQ(held.use_count(), 1);
}

TYPED_TEST_P(QueuesContract, ATimerMayBeDestroyedByItsOwnCall) {
  this->onEachQueue([&](TaskQueue& queue) {
    std::atomic<int> ticks{0};
    std::unique_ptr<RepeatingTimer> timer;
    const auto held = std::make_shared<int>(0);
    this->runOn(queue, [&] {
      timer = this->queues().makeRepeatingTimer(queue, 1ms, 1ms, 0ms, [&, held] {
        timer.reset();
        ++ticks;
        EXPECT_EQ(held.use_count(), 2) << "the closure must outlive its timer while it runs";
      });
      timer->resume();
    });
    this->waitUntil([&] { return ticks == 1; });
    this->letPass(20ms);
    this->runOn(queue, [] {});
    EXPECT_EQ(ticks, 1);
    EXPECT_EQ(held.use_count(), 1);
  });
}

TYPED_TEST_P(QueuesContract, DestroyingASerialQueueDropsWhatHasNotStartedAndWaitsForWhatRuns) {
  auto queue = this->queues().makeSerialQueue("short-lived");
  Log log;
  std::atomic<bool> started{false};
  const auto held = std::make_shared<int>(0);
  queue->post([&] {
    started = true;
    this->queues().sleep(30ms);
    log.add("ran");
  });
  queue->post([&log, held] { log.add("dropped"); });
  queue->postAfter(1ms, [&log, held] { log.add("dropped too"); });
  this->waitUntil([&] { return started.load(); });
  queue.reset();
  EXPECT_THAT(log.entries(), ::testing::ElementsAre("ran"));
  EXPECT_EQ(held.use_count(), 1);
  this->letPass(20ms);
  EXPECT_EQ(log.size(), 1U);
}

TYPED_TEST_P(QueuesContract, ASerialQueueMayBeDestroyedByItsOwnTask) {
  auto queue = this->queues().makeSerialQueue("short-lived");
  Log log;
  queue->post([&] {
    queue->post(log.adding("dropped"));
    queue.reset();
    log.add("ran");
  });
  this->waitUntil([&] { return log.size() == 1; });
  this->letPass(10ms);
  EXPECT_THAT(log.entries(), ::testing::ElementsAre("ran"));
}

TYPED_TEST_P(QueuesContract, ATimerMayOutliveItsQueue) {
  auto queue = this->queues().makeSerialQueue("short-lived");
  std::atomic<int> ticks{0};
  const auto timer = this->queues().makeRepeatingTimer(*queue, 1ms, 1ms, 0ms, [&] { ++ticks; });
  timer->resume();
  this->waitUntil([&] { return ticks >= 1; });
  queue.reset();
  const int atEnd = ticks;
  timer->suspend();
  timer->resume();
  this->letPass(10ms);
  EXPECT_EQ(ticks, atEnd);
}

/// Uses about 4 kB of stack a level.
inline int descend(int levels) {
  volatile char frame[4096];
  frame[0] = static_cast<char>(levels);
  return levels == 0 ? 0 : descend(levels - 1) + (frame[0] == static_cast<char>(levels) ? 1 : 0);
}

TYPED_TEST_P(QueuesContract, TheHighPriorityQueueHasRoomForDeepRecursion) {
  constexpr int kLevels = 30'000;
  std::atomic<int> reached{0};
  this->queues().highPriorityQueue().post([&] { reached = descend(kLevels); });
  this->waitUntil([&] { return reached == kLevels; });
}

REGISTER_TYPED_TEST_SUITE_P(QueuesContract, RunsTasksInTheOrderOfPosting, RunsDelayedTasksByDueTimeThenByPosting,
                            NeverRunsADelayedTaskEarly, RunsWhatATaskPostsAfterTheTasksThatWait,
                            KnowsWhichQueueIsCurrent, OtherQueuesRunWhileOneSleeps, AWaitEndsWhileALaterOneGoesOn,
                            ClocksGoOnAndNeverBack, ACompletionEndsTheWaitOfAnotherQueue, AWaitThatNobodyEndsTimesOut,
                            SeveralWaitersAreAllReleased, ATimerIsMadeSuspended,
                            ATimerCallsAtItsStartAndThenAtEveryInterval, ATimerOfZeroStartCallsAtOnce,
                            TicksThatWereMissedAreNotMadeUpFor, ASuspendedTimerStaysSilentAndStartsAfresh,
                            ADestroyedTimerCallsNoMore, DestroyingATimerWaitsForItsRunningCallAndFreesWhatItHeld,
                            ATimerMayBeDestroyedByItsOwnCall,
                            DestroyingASerialQueueDropsWhatHasNotStartedAndWaitsForWhatRuns,
                            ASerialQueueMayBeDestroyedByItsOwnTask, ATimerMayOutliveItsQueue,
                            TheHighPriorityQueueHasRoomForDeepRecursion);

}  // namespace jumplark::contract
