#include "input/ZMOEventTap.h"

#include <gtest/gtest.h>

#include <chrono>

#include "support/RecordedFixture.h"

namespace jumplark {
namespace {

using std::chrono::milliseconds;
using testing::RecordedFixture;

constexpr uint64_t kKeyDowns = uint64_t{1} << event_type::keyDown;
const char* const kEmptyDesktop = R"({"elements":{}})";

InputEvent keyDown(int64_t keyCode) {
  InputEvent event;
  event.type = event_type::keyDown;
  event.keyCode = keyCode;
  return event;
}

TEST(ZMOEventTap, AsksTheSubscriberOfTheTypeAndSwallowsOnItsWord) {
  RecordedFixture desktop(kEmptyDesktop);
  ZMOEventTap tap(kKeyDowns);
  tap.setSwallowedKeyCodes({1, key_code::returnKey});
  int calls = 0;
  tap.subscribeToEventWithBlock(event_type::keyDown, [&](const InputEvent&, bool&) { calls += 100; });
  tap.subscribeToEventWithBlock(event_type::keyDown, [&](const InputEvent& event, bool& stop) {
    ++calls;
    stop = event.keyCode == key_code::returnKey;
  });
  EXPECT_TRUE(desktop->input().inject(keyDown(key_code::returnKey))) << "not active yet";
  tap.activate();
  EXPECT_TRUE(tap.isActive());
  EXPECT_FALSE(desktop->input().inject(keyDown(key_code::returnKey)));
  EXPECT_TRUE(desktop->input().inject(keyDown(key_code::tab)));
  EXPECT_EQ(calls, 2) << "the second block replaced the first";
  tap.unsubscribeFromEvent(event_type::keyDown);
  EXPECT_TRUE(desktop->input().inject(keyDown(key_code::returnKey)));
  EXPECT_EQ(calls, 2);
}

TEST(ZMOEventTap, WindsDownWithinFiftyMillisecondsAndMayStartAgain) {
  RecordedFixture desktop(kEmptyDesktop);
  ZMOEventTap tap(kKeyDowns);
  tap.setSwallowedKeyCodes({1, key_code::returnKey});
  tap.subscribeToEventWithBlock(event_type::keyDown, [](const InputEvent&, bool& stop) { stop = true; });
  for (int round = 0; round < 2; ++round) {
    tap.activate();
    EXPECT_FALSE(desktop->input().inject(keyDown(1))) << round;
    tap.deactivate();
    desktop->queues().advance(milliseconds(50));
    EXPECT_FALSE(tap.isActive()) << round;
    EXPECT_TRUE(desktop->input().inject(keyDown(1))) << round;
  }
}

TEST(ZMOEventTap, ActivatedAgainBeforeItWoundDownStaysActive) {
  RecordedFixture desktop(kEmptyDesktop);
  ZMOEventTap tap(kKeyDowns);
  tap.setSwallowedKeyCodes({1, key_code::returnKey});
  tap.subscribeToEventWithBlock(event_type::keyDown, [](const InputEvent&, bool& stop) { stop = true; });
  tap.activate();
  tap.deactivate();
  tap.activate();
  desktop->queues().advance(milliseconds(100));
  EXPECT_TRUE(tap.isActive());
  EXPECT_FALSE(desktop->input().inject(keyDown(1)));
}

TEST(ZMOEventTap, NoBlockRunsAfterItsEnd) {
  RecordedFixture desktop(kEmptyDesktop);
  int calls = 0;
  {
    ZMOEventTap tap(kKeyDowns);
    tap.setSwallowedKeyCodes({1, key_code::returnKey});
    tap.subscribeToEventWithBlock(event_type::keyDown, [&](const InputEvent&, bool&) { ++calls; });
    tap.activate();
    desktop->input().inject(keyDown(1));
  }
  EXPECT_TRUE(desktop->input().inject(keyDown(1)));
  desktop->queues().advance(milliseconds(100));
  EXPECT_EQ(calls, 1);
}

TEST(ZMOEventTap, StaysInactiveWhereNoTapIsPermittedAndMayBeTriedAgain) {
  RecordedFixture desktop(kEmptyDesktop);
  desktop->input().permitTaps(false);
  ZMOEventTap tap(kKeyDowns);
  tap.setSwallowedKeyCodes({1, key_code::returnKey});
  tap.activate();
  EXPECT_FALSE(tap.isActive());
  desktop->input().permitTaps(true);
  tap.activate();
  EXPECT_TRUE(tap.isActive());
}

}  // namespace
}  // namespace jumplark
