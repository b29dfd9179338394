#include "backends/linux/system/SystemQueues.h"
#include "query/engine/EngineFixture.h"

namespace jumplark::testing {
namespace {

/// The engine on real threads; this one is the main thread.
class JLQueryEngineOnThreads : public ::testing::Test {
 protected:
  ~JLQueryEngineOnThreads() override {
    engine_.reset();
    JLElement::flushCache();
  }

  RecordedQueryWindow& window() { return *recorded_.views().queryWindow(); }
  void runUntil(const std::function<bool()>& stop) {
    const auto late = std::make_shared<bool>(false);
    queues_.mainQueue().postAfter(std::chrono::seconds(20), [late] { *late = true; });
    queues_.runMainQueueUntil([&] { return *late || stop(); });
    ASSERT_FALSE(*late);
  }
  /// Everything that the background queue was asked for is done, and what that posted.
  void settle() {
    bool done = false;
    queues_.highPriorityQueue().post([&] { queues_.mainQueue().post([&] { done = true; }); });
    runUntil([&] { return done; });
  }
  size_t posted() { return recorded_.input().postedMouseEvents().size(); }

  SystemQueues queues_;
  RecordedPlatform recorded_{RecordedDesktop::fromText(kEditorDesktop, "test"), queues_};
  const Token installed_ = Platform::install(recorded_.platform());
  std::unique_ptr<JLQueryEngine> engine_ = std::make_unique<JLQueryEngine>();
};

TEST_F(JLQueryEngineOnThreads, activationsThatEndAtAnyMomentLeaveNothingAndTheNextOneClicks) {
  recorded_.accessibility().setDelay("search", 1);
  for (int i = 0; i < 40; ++i) {
    ASSERT_TRUE(engine_->hotkeyPressed());
    window().typeText("s");
    if (i % 4 == 1) {
      settle();
    } else if (i % 4 == 2) {
      runUntil([&] { return engine_->completedQuery().value().text == "s"; });
    } else if (i % 4 == 3) {
      window().press(key_code::returnKey);
      window().typeText("a");
    }
    ASSERT_FALSE(engine_->hotkeyPressed());
    ASSERT_FALSE(window().isVisible());
    ASSERT_TRUE(recorded_.views().overlay().shownLayers().empty());
  }
  settle();
  settle();
  EXPECT_TRUE(engine_->selectionController().elementMatchesByScore().empty());
  EXPECT_TRUE(recorded_.views().overlay().shownLayers().empty());
  EXPECT_EQ(posted(), 0U);
  engine_->hotkeyPressed();
  window().typeText("save");
  window().press(key_code::returnKey);
  EXPECT_TRUE(window().isVisible()) << "the main thread does not wait for the matches";
  runUntil([&] { return posted() == 3; });
  EXPECT_FALSE(window().isVisible());
  EXPECT_EQ(window().callsOffMainThread(), 0);
}

TEST_F(JLQueryEngineOnThreads, goesWhileItsPartsAreAtWork) {
  recorded_.accessibility().setDelay("search", 20);
  engine_->hotkeyPressed();
  window().typeText("save");
  window().press(key_code::returnKey);
  const int snapshotsEnded = recorded_.accessibility().endedSnapshots();
  engine_.reset();
  EXPECT_GT(recorded_.accessibility().endedSnapshots(), snapshotsEnded) << "the activation has ended";
  EXPECT_THROW(JLQueryEngine::sharedInstance(), std::logic_error);
  settle();
  EXPECT_EQ(posted(), 0U);
}

}  // namespace
}  // namespace jumplark::testing
