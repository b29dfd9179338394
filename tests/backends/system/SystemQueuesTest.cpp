#include "backends/linux/system/SystemQueues.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace jumplark {
namespace {

using namespace std::chrono_literals;

TEST(SystemQueues, drainingRunsWhatIsDueAndTellsWhenMoreComes) {
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

TEST(SystemQueues, aTaskThatPostsForEverDoesNotHoldUpALoop) {
  SystemQueues queues;
  std::function<void()> again = [&] { queues.mainQueue().post(again); };
  again();
  EXPECT_EQ(queues.drainMainQueue(), Duration(0)) << "the rest is due, and left to the next turn";
}

TEST(SystemQueues, theWakerIsCalledOnlyForWhatComesEarlierThanAllElse) {
  SystemQueues queues;
  int calls = 0;
  queues.setMainQueueWaker([&] { ++calls; });
  for (const auto& [due, expected] : {std::pair(60min, 1), {120min, 1}, {1min, 2}}) {
    queues.mainQueue().postAfter(due, [] {});
    EXPECT_EQ(calls, expected);
  }
  queues.setMainQueueWaker(nullptr);
}

TEST(SystemQueues, aMainTaskCannotRunTheMainQueue) {
  SystemQueues queues;
  int inner = 0;
  queues.mainQueue().post([&] {
    queues.mainQueue().post([&] { ++inner; });
    EXPECT_FALSE(queues.drainMainQueue());
    EXPECT_EQ(inner, 0);
    EXPECT_THROW(queues.runMainQueueUntil([] { return false; }), std::logic_error);
  });
  queues.runMainQueueUntil([&] { return inner == 1; });
}

}  // namespace
}  // namespace jumplark
