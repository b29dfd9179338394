// What every kind of queues promises. No case measures how long something takes; to see that something does not
// happen, a case waits for something that is due later.
#include <gmock/gmock.h>

#include <mutex>

#include "backends/linux/system/SystemQueues.h"
#include "backends/recorded/VirtualQueues.h"

namespace jumplark {
namespace {

using namespace std::chrono_literals;
using ::testing::AnyOf;
using ::testing::ElementsAre;

/// Lets time pass and the main queue run until a condition holds; false when that takes absurdly long.
bool runUntil(VirtualQueues& queues, const std::function<bool()>& condition) {
  return queues.advanceUntil(condition, 1h);
}
bool runUntil(SystemQueues& queues, const std::function<bool()>& condition) {
  const Duration end = queues.monotonicNow() + 30s;
  while (!condition() && queues.monotonicNow() < end) {
    queues.drainMainQueue();
    queues.sleep(1ms);
  }
  return condition();
}

/// What happened, in order; written by any thread.
class Log {
 public:
  void add(const std::string& entry) {
    const std::scoped_lock lock(mutex_);
    entries_.push_back(entry);
  }
  Task adding(const std::string& entry) {
    return [this, entry] { add(entry); };
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

template <typename Kind>
class QueuesContract : public ::testing::Test {
 protected:
  Queues& queues() { return *queues_; }
  void end() { queues_.reset(); }
  void waitUntil(const std::function<bool()>& condition) {
    ASSERT_TRUE(runUntil(*queues_, condition)) << "what the case waits for never came";
  }
  /// Lets at least that much time pass.
  void letPass(Duration duration) {
    std::atomic<bool> over{false};
    queues_->mainQueue().postAfter(duration, [&] { over = true; });
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
    const auto serial = queues_->makeSerialQueue("serial");
    for (TaskQueue* queue : {&queues_->mainQueue(), &queues_->highPriorityQueue(), serial.get()}) {
      SCOPED_TRACE(queue->name());
      body(*queue);
    }
  }

 private:
  std::unique_ptr<Kind> queues_ = std::make_unique<Kind>();
};

using Kinds = ::testing::Types<VirtualQueues, SystemQueues>;
TYPED_TEST_SUITE(QueuesContract, Kinds);

TYPED_TEST(QueuesContract, runsWhatIsPostedAfterWhatWaitsAndDelayedTasksWhenTheyAreDue) {
  this->onEachQueue([&](TaskQueue& queue) {
    Log log;
    const auto notBefore = [&](const char* what, Duration delay) {
      queue.postAfter(delay, [this, &log, what, due = this->queues().monotonicNow() + delay] {
        log.add(this->queues().monotonicNow() < due ? "early" : what);
      });
    };
    // Posted in one go by a task, so that none of them is due before all are there.
    queue.post([&] {
      notBefore("late", 300ms);
      notBefore("soon", 20ms);
      queue.post([&] {
        queue.post(log.adding("inner"));
        log.add("outer");
      });
      queue.postAfter(-5ms, log.adding("waiting"));
      log.add("posted");
    });
    this->waitUntil([&] { return log.size() == 6; });
    EXPECT_THAT(log.entries(),
                ElementsAre("posted", AnyOf("outer", "waiting"), AnyOf("outer", "waiting"), "inner", "soon", "late"));
  });
}

TYPED_TEST(QueuesContract, knowsWhichQueueIsCurrent) {
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

TYPED_TEST(QueuesContract, otherQueuesRunWhileOneSleepsAndAWaitEndsWhileALaterOneGoesOn) {
  const auto first = this->queues().makeSerialQueue("first");
  const auto second = this->queues().makeSerialQueue("second");
  const auto third = this->queues().makeSerialQueue("third");
  const auto started = this->queues().makeCompletion();
  const auto ended = this->queues().makeCompletion();
  Log log;
  first->post([&] {
    log.add(started->wait(1h) ? "second waits" : "second never started");
    third->postAfter(5ms, log.adding("third"));
    while (log.size() < 2) {
      this->queues().sleep(10ms);
    }
    log.add("first ends");
    ended->signal();
  });
  second->post([&] {
    started->signal();
    log.add(ended->wait(1h) ? "second ends" : "second timed out");
  });
  this->waitUntil([&] { return log.size() == 4; });
  EXPECT_THAT(log.entries(), ElementsAre("second waits", "third", "first ends", "second ends"));
}

TYPED_TEST(QueuesContract, aWaitTimesOutUnlessItIsEndedAndThenAllAreReleasedAndWhoComesLaterDoesNotWait) {
  const auto completion = this->queues().makeCompletion();
  const Duration start = this->queues().monotonicNow();
  EXPECT_FALSE(completion->wait(10ms));
  EXPECT_GE(this->queues().monotonicNow() - start, 10ms);
  EXPECT_FALSE(completion->wait(0ms));
  EXPECT_FALSE(completion->wait(-1ms));

  std::vector<std::shared_ptr<TaskQueue>> waiters;
  std::atomic<int> released{0};
  for (int i = 0; i < 4; ++i) {
    waiters.push_back(this->queues().makeSerialQueue("waiter"));
    waiters.back()->post([&] { released += completion->wait(1h) ? 1 : 0; });
  }
  this->queues().mainQueue().postAfter(5ms, [&] {
    completion->signal();
    completion->signal();
  });
  this->waitUntil([&] { return released == 4; });
  EXPECT_TRUE(completion->wait(0ms));
  EXPECT_TRUE(completion->wait(Duration::max()));
}

TYPED_TEST(QueuesContract, destroyingASerialQueueDropsWhatHasNotStartedAndWaitsForWhatRuns) {
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
  EXPECT_THAT(log.entries(), ElementsAre("ran"));
  EXPECT_EQ(held.use_count(), 1);
  this->letPass(20ms);
  EXPECT_EQ(log.size(), 1U);
}

TYPED_TEST(QueuesContract, theEndOfAllDropsWhatHasNotStartedAndWaitsForWhatRuns) {
  Queues& queues = this->queues();
  Log log;
  std::atomic<bool> started{false};
  const auto held = std::make_shared<int>(0);
  queues.highPriorityQueue().post([&] {
    started = true;
    queues.sleep(20ms);
    log.add("ran");
  });
  queues.mainQueue().postAfter(1h, [&log, held] { log.add("dropped"); });
  this->waitUntil([&] { return started.load(); });
  queues.highPriorityQueue().post([&log, held] { log.add("dropped"); });
  this->end();
  EXPECT_THAT(log.entries(), ElementsAre("ran"));
  EXPECT_EQ(held.use_count(), 1);
}

TYPED_TEST(QueuesContract, aSerialQueueMayBeDestroyedByItsOwnTask) {
  auto queue = this->queues().makeSerialQueue("short-lived");
  Log log;
  queue->post([&] {
    queue->post(log.adding("dropped"));
    queue.reset();
    log.add("ran");
  });
  this->letPass(10ms);
  this->waitUntil([&] { return log.size() > 0; });
  EXPECT_THAT(log.entries(), ElementsAre("ran"));
}

/// Uses about 4 kB of stack a level.
inline int descend(int levels) {
  volatile char frame[4096];
  frame[0] = static_cast<char>(levels);
  return levels == 0 ? 0 : descend(levels - 1) + (frame[0] == static_cast<char>(levels) ? 1 : 0);
}

TYPED_TEST(QueuesContract, theHighPriorityQueueHasRoomForDeepRecursion) {
  constexpr int kLevels = 30'000;
  std::atomic<int> reached{0};
  this->queues().highPriorityQueue().post([&] { reached = descend(kLevels); });
  this->waitUntil([&] { return reached == kLevels; });
}

TYPED_TEST(QueuesContract, ticksThatWereMissedAreNotMadeUpFor) {
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

TYPED_TEST(QueuesContract, aTimerCallsAtItsStartAndEveryIntervalBetweenResumeAndSuspendAndNoMoreOnceDestroyed) {
  this->onEachQueue([&](TaskQueue& queue) {
    std::atomic<int> ticks{0};
    std::atomic<int> early{0};
    Duration resumed{};
    auto timer = this->queues().makeRepeatingTimer(queue, 20ms, 10ms, 1ms, [&] {
      early += this->queues().monotonicNow() - resumed < 20ms + ticks++ * 10ms ? 1 : 0;
    });
    const auto expectSilence = [&] {
      const int before = ticks;
      this->letPass(50ms);
      this->runOn(queue, [] {});
      EXPECT_EQ(ticks, before);
    };
    const auto expectTicks = [&] {
      ticks = 0;
      resumed = this->queues().monotonicNow();
      timer->resume();
      timer->resume();  // changes nothing
      this->waitUntil([&] { return ticks >= 4; });
      EXPECT_EQ(early, 0);
    };
    expectSilence();
    expectTicks();
    timer->suspend();
    expectSilence();
    expectTicks();
    timer.reset();
    expectSilence();
  });
}

TYPED_TEST(QueuesContract, destroyingATimerWaitsForItsRunningCallAndFreesWhatItHeld) {
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

TYPED_TEST(QueuesContract, aTimerMayBeDestroyedByItsOwnCall) {
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

TYPED_TEST(QueuesContract, aTimerMayOutliveItsQueue) {
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

}  // namespace
}  // namespace jumplark
