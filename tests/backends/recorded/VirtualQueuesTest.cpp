#include "backends/recorded/VirtualQueues.h"

#include <gmock/gmock.h>

#include "backends/recorded/RecordedPlatform.h"

namespace jumplark {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

class VirtualQueuesTest : public ::testing::Test {
 protected:
  void log(const std::string& what) { log_.push_back(what + "@" + std::to_string(queues_.monotonicNow() / 1ms)); }
  Task logging(const std::string& what) { return std::bind_front(&VirtualQueuesTest::log, this, what); }

  std::vector<std::string> log_;
  VirtualQueues queues_;
};

TEST_F(VirtualQueuesTest, allQueuesTogetherRunByDueTimeThenByPosting) {
  const auto serial = queues_.makeSerialQueue("serial");
  serial->postAfter(20ms, logging("a"));
  queues_.mainQueue().postAfter(10ms, logging("b"));
  queues_.highPriorityQueue().postAfter(20ms, logging("c"));
  queues_.mainQueue().postAfter(20ms, logging("d"));
  queues_.highPriorityQueue().postAfter(10ms, [this] {
    log("e");
    queues_.mainQueue().postAfter(10ms, logging("f"));
    queues_.mainQueue().post(logging("g"));
  });
  queues_.advance(20ms);
  EXPECT_THAT(log_, ElementsAre("b@10", "e@10", "g@10", "a@20", "c@20", "d@20", "f@20"));
}

TEST_F(VirtualQueuesTest, aWaitOfTheMainQueueHoldsUpOnlyThatQueue) {
  queues_.mainQueue().post([&] {
    queues_.mainQueue().post(logging("next"));
    queues_.highPriorityQueue().postAfter(10ms, logging("high"));
    queues_.sleep(50ms);
    log("main");
  });
  queues_.advance(20ms);
  EXPECT_THAT(log_, ElementsAre("high@10", "main@50", "next@50"));
  EXPECT_EQ(queues_.monotonicNow(), 50ms);
  EXPECT_THROW(queues_.makeCompletion()->wait(Duration::max()), std::logic_error) << "nothing can end it";
}

TEST_F(VirtualQueuesTest, anExceptionOfATaskComesOutWhereTimePasses) {
  for (TaskQueue* queue : {&queues_.mainQueue(), &queues_.highPriorityQueue()}) {
    queue->post([] { throw std::runtime_error("broken"); });
    queue->post(logging("after"));
    EXPECT_THROW(queues_.advance(1ms), std::runtime_error);
    queues_.runPending();
  }
  EXPECT_EQ(log_.size(), 2U) << "the queues go on";
}

TEST(VirtualQueues, theirEndEndsWaits) {
  std::vector<std::string> log;
  std::shared_ptr<TaskQueue> survivor;
  std::shared_ptr<Completion> completion;
  {
    VirtualQueues queues;
    survivor = queues.makeSerialQueue("survivor");
    completion = queues.makeCompletion();
    survivor->post([&] {
      log.emplace_back(completion->wait(1h) ? "signalled" : "timed out");
      queues.sleep(1h);
      log.emplace_back("slept");
    });
    queues.runPending();
  }
  EXPECT_THAT(log, ElementsAre("timed out", "slept"));
  survivor->post([&] { log.emplace_back("too late"); });
  EXPECT_FALSE(completion->wait(1h));
  EXPECT_EQ(log.size(), 2U);
}

TEST(RecordedInput, aTapSeesWhatItsMaskNamesAndItsEndWaitsForItsCall) {
  const auto recorded = RecordedPlatform::fromText("{}");
  EventTapConfiguration configuration;
  configuration.mask = 1U << event_type::keyUp;
  std::vector<int64_t> seen;
  auto tap = recorded->input().createEventTap(configuration, [&](uint32_t, const InputEvent& event) {
    recorded->queues().sleep(100ms);
    seen.push_back(event.keyCode);
    return true;
  });
  recorded->input().injectKey(event_type::keyUp, key_code::space);
  tap->setEnabled(true);
  recorded->input().injectKey(event_type::keyDown, key_code::tab);
  recorded->input().injectFlags(modifier_flag::shift);
  recorded->queues().highPriorityQueue().postAfter(10ms, [&] {
    tap.reset();
    EXPECT_THAT(seen, ElementsAre(key_code::escape));
  });
  recorded->input().injectKey(event_type::keyUp, key_code::escape);
  recorded->queues().advance(1s);
  EXPECT_EQ(tap, nullptr);
  EXPECT_EQ(recorded->input().tapCount(), 0);
}

}  // namespace
}  // namespace jumplark
