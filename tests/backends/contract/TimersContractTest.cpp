#include "backends/contract/QueuesFixture.h"

namespace jumplark::contract {
namespace {

/// Repeating timers.
template <typename Harness>
class TimersContract : public QueuesFixture<Harness> {};

TYPED_TEST_SUITE(TimersContract, Harnesses);

TYPED_TEST(TimersContract, ATimerCallsAtItsStartAndThenAtEveryInterval) {
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

TYPED_TEST(TimersContract, TicksThatWereMissedAreNotMadeUpFor) {
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

TYPED_TEST(TimersContract, aTimerCallsOnlyBetweenResumeAndSuspendAndNoMoreOnceDestroyed) {
  this->onEachQueue([&](TaskQueue& queue) {
    std::atomic<int> ticks{0};
    auto timer = this->queues().makeRepeatingTimer(queue, 2ms, 2ms, 0ms, [&] { ++ticks; });
    const auto expectSilence = [&] {
      const int before = ticks;
      this->letPass(20ms);
      this->runOn(queue, [] {});
      EXPECT_EQ(ticks, before);
    };
    const auto expectTicks = [&] {
      timer->resume();
      this->waitUntil([&, before = ticks.load()] { return ticks >= before + 2; });
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

TYPED_TEST(TimersContract, DestroyingATimerWaitsForItsRunningCallAndFreesWhatItHeld) {
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

TYPED_TEST(TimersContract, ATimerMayBeDestroyedByItsOwnCall) {
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

TYPED_TEST(TimersContract, ATimerMayOutliveItsQueue) {
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
}  // namespace jumplark::contract
