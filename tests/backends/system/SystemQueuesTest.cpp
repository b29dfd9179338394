#include "backends/linux/system/SystemQueues.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace jumplark {
namespace {

using namespace std::chrono_literals;

/// A loop of a program's own, as a window system has one: it sleeps until it is woken.
class Loop {
 public:
  void wake() {
    const std::scoped_lock lock(mutex_);
    woken_ = true;
    wakes_.notify_all();
  }
  void sleepUntilWoken() {
    std::unique_lock lock(mutex_);
    wakes_.wait(lock, [this] { return woken_; });
    woken_ = false;
  }

 private:
  std::mutex mutex_;
  std::condition_variable wakes_;
  bool woken_ = false;
};

TEST(SystemQueues, ALoopOfItsOwnIsWokenForWhatAnotherThreadPosts) {
  SystemQueues queues;
  Loop loop;
  queues.setMainQueueWaker([&] { loop.wake(); });
  bool ran = false;
  queues.highPriorityQueue().post([&] { queues.mainQueue().post([&] { ran = true; }); });
  while (!ran) {
    loop.sleepUntilWoken();
    queues.drainMainQueue();
  }
  queues.setMainQueueWaker(nullptr);
  EXPECT_FALSE(queues.drainMainQueue()) << "nothing is left";
}

TEST(SystemQueues, DrainingRunsWhatIsDueAndTellsWhenMoreComes) {
  SystemQueues queues;
  int ran = 0;
  queues.mainQueue().post([&] { ++ran; });
  queues.mainQueue().post([&] { ++ran; });
  queues.mainQueue().postAfter(1h, [&] { ++ran; });
  const auto next = queues.drainMainQueue();
  EXPECT_EQ(ran, 2);
  ASSERT_TRUE(next);
  EXPECT_GT(*next, 59min);
  EXPECT_LE(*next, 1h);
}

TEST(SystemQueues, ATaskThatPostsForEverDoesNotHoldUpALoop) {
  SystemQueues queues;
  std::function<void()> again = [&] { queues.mainQueue().post(again); };
  again();
  const auto next = queues.drainMainQueue();
  ASSERT_TRUE(next);
  EXPECT_EQ(*next, 0ns) << "the rest is due, and left to the next turn";
}

TEST(SystemQueues, TheWakerIsCalledOnlyForWhatComesEarlierThanAllElse) {
  SystemQueues queues;
  int calls = 0;
  queues.setMainQueueWaker([&] { ++calls; });
  queues.mainQueue().postAfter(1h, [] {});
  EXPECT_EQ(calls, 1);
  queues.mainQueue().postAfter(2h, [] {});
  EXPECT_EQ(calls, 1);
  queues.mainQueue().postAfter(1min, [] {});
  EXPECT_EQ(calls, 2);
  queues.setMainQueueWaker(nullptr);
}

TEST(SystemQueues, AMainTaskCannotRunTheMainQueue) {
  SystemQueues queues;
  int inner = 0;
  bool stop = false;
  queues.mainQueue().post([&] {
    queues.mainQueue().post([&] {
      ++inner;
      stop = true;
    });
    EXPECT_FALSE(queues.drainMainQueue());
    EXPECT_EQ(inner, 0);
    EXPECT_THROW(queues.runMainQueueUntil([] { return false; }), std::logic_error);
  });
  queues.runMainQueueUntil([&] { return stop; });
  EXPECT_EQ(inner, 1);
}

TEST(SystemQueues, EndingThemDropsWhatHasNotStartedAndWaitsForWhatRuns) {
  std::atomic<bool> started{false};
  std::atomic<bool> ended{false};
  std::atomic<bool> dropped{true};
  {
    SystemQueues queues;
    queues.highPriorityQueue().post([&] {
      started = true;
      queues.sleep(20ms);
      ended = true;
    });
    queues.highPriorityQueue().post([&] { dropped = false; });
    queues.mainQueue().post([&] { dropped = false; });
    while (!started) {
      std::this_thread::yield();
    }
  }
  EXPECT_TRUE(ended);
  EXPECT_TRUE(dropped);
}

}  // namespace
}  // namespace jumplark
