#include "backends/contract/QueuesFixture.h"

namespace jumplark::contract {
namespace {

using ::testing::AnyOf;
using ::testing::ElementsAre;

/// Tasks, waits and the ends of queues.
template <typename Harness>
class QueuesContract : public QueuesFixture<Harness> {};

TYPED_TEST_SUITE(QueuesContract, Harnesses);

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

TYPED_TEST(QueuesContract, KnowsWhichQueueIsCurrent) {
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

TYPED_TEST(QueuesContract, OtherQueuesRunWhileOneSleeps) {
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
  EXPECT_THAT(log.entries(), ElementsAre("falls asleep", "other", "wakes", "next"));
}

TYPED_TEST(QueuesContract, AWaitEndsWhileALaterOneGoesOn) {
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
  EXPECT_THAT(log.entries(), ElementsAre("second waits", "first ends", "second ends"));
}

TYPED_TEST(QueuesContract, AWaitThatNobodyEndsTimesOut) {
  const auto completion = this->queues().makeCompletion();
  const Duration start = this->queues().monotonicNow();
  EXPECT_FALSE(completion->wait(10ms));
  EXPECT_GE(this->queues().monotonicNow() - start, 10ms);
  EXPECT_FALSE(completion->wait(0ms));
  EXPECT_FALSE(completion->wait(-1ms));
}

TYPED_TEST(QueuesContract, allWhoWaitAreReleasedAndWhoComesLaterDoesNotWait) {
  const auto completion = this->queues().makeCompletion();
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

TYPED_TEST(QueuesContract, DestroyingASerialQueueDropsWhatHasNotStartedAndWaitsForWhatRuns) {
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

TYPED_TEST(QueuesContract, TheHighPriorityQueueHasRoomForDeepRecursion) {
  constexpr int kLevels = 30'000;
  std::atomic<int> reached{0};
  this->queues().highPriorityQueue().post([&] { reached = descend(kLevels); });
  this->waitUntil([&] { return reached == kLevels; });
}

}  // namespace
}  // namespace jumplark::contract
