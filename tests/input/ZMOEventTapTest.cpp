#include "input/ZMOEventTap.h"

#include "support/RecordedFixture.h"

namespace jumplark::testing {
namespace {

using std::chrono::milliseconds;

constexpr uint64_t kKeyDowns = uint64_t{1} << event_type::keyDown;

/// A tap that may swallow Return and one more key, and the block that tells it to.
class EventTap : public ::testing::Test {
 protected:
  EventTap() { tap_->setSwallowedKeyCodes({1, key_code::returnKey}); }
  void stopEverything() {
    tap_->subscribeToEventWithBlock(event_type::keyDown, [](const InputEvent&, bool& stop) { stop = true; });
  }
  bool passes(int64_t keyCode) { return desktop_->input().injectKey(event_type::keyDown, keyCode); }
  void pass(int time) { desktop_->queues().advance(milliseconds(time)); }

  RecordedFixture desktop_{R"({"elements":{}})"};
  std::optional<ZMOEventTap> tap_{kKeyDowns};
};

TEST_F(EventTap, asksTheSubscriberOfTheTypeAndSwallowsOnItsWord) {
  int calls = 0;
  tap_->subscribeToEventWithBlock(event_type::keyDown, [&](const InputEvent&, bool&) { calls += 100; });
  tap_->subscribeToEventWithBlock(event_type::keyDown, [&](const InputEvent& event, bool& stop) {
    ++calls;
    stop = event.keyCode == key_code::returnKey;
  });
  EXPECT_TRUE(passes(key_code::returnKey)) << "not active yet";
  tap_->activate();
  EXPECT_FALSE(passes(key_code::returnKey));
  EXPECT_TRUE(passes(1));
  EXPECT_EQ(calls, 2) << "the second block replaced the first";
  tap_->unsubscribeFromEvent(event_type::keyDown);
  EXPECT_TRUE(passes(key_code::returnKey));
  EXPECT_EQ(calls, 2);
}

TEST_F(EventTap, windsDownWithinFiftyMillisecondsAndMayStartAgain) {
  stopEverything();
  for (int round = 0; round < 2; ++round) {
    tap_->activate();
    EXPECT_FALSE(passes(1)) << round;
    tap_->deactivate();
    pass(50);
    EXPECT_FALSE(tap_->isActive()) << round;
    EXPECT_TRUE(passes(1)) << round;
    EXPECT_EQ(desktop_->input().tapCount(), 0) << round;
  }
  tap_->deactivate();
  tap_->activate();
  tap_->deactivate();
  tap_->activate();
  pass(100);
  EXPECT_FALSE(passes(1)) << "activated again before it wound down";
  EXPECT_EQ(desktop_->input().tapCount(), 1);
}

TEST_F(EventTap, isNotMadeWhenItsEndComesBeforeItsThreadBegins) {
  desktop_->queues().mainQueue().post([this] { tap_->deactivate(); });
  tap_->activate();
  pass(100);
  EXPECT_FALSE(tap_->isActive());
  EXPECT_EQ(desktop_->input().tapCount(), 0);
}

TEST_F(EventTap, noBlockRunsAfterItsEnd) {
  int calls = 0;
  tap_->subscribeToEventWithBlock(event_type::keyDown, [&](const InputEvent&, bool&) { ++calls; });
  tap_->activate();
  passes(1);
  tap_.reset();
  EXPECT_TRUE(passes(1));
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(desktop_->input().tapCount(), 0);
}

TEST_F(EventTap, isEnabledAgainAtOnceAfterATimeOutAndOnRequestAfterTheUser) {
  stopEverything();
  tap_->activate();
  desktop_->input().disableTaps(event_type::tapDisabledByTimeout);
  EXPECT_FALSE(passes(1));
  desktop_->input().disableTaps(event_type::tapDisabledByUserInput);
  EXPECT_TRUE(passes(1)) << "the user's word counts";
  tap_->activate();
  EXPECT_FALSE(passes(1));
}

TEST_F(EventTap, staysInactiveWhereNoTapIsPermittedAndMayBeTriedAgain) {
  desktop_->input().permitTaps(false);
  tap_->activate();
  EXPECT_FALSE(tap_->isActive());
  desktop_->input().permitTaps(true);
  tap_->activate();
  EXPECT_TRUE(tap_->isActive());
}

}  // namespace
}  // namespace jumplark::testing
