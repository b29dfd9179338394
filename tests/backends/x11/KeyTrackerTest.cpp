#include "backends/linux/x11/KeyTracker.h"

#include "backends/x11/X11Fixture.h"

namespace jumplark {
namespace {

constexpr uint8_t kControl = 37;
constexpr uint8_t kA = 38;
constexpr uint8_t kControlMask = 4;

/// What a real device or a frozen keyboard sends, which synthetic keys cannot imitate.
class KeyTrackerTest : public X11Test {
 protected:
  KeyTrackerTest() : X11Test(desktop::WindowManager::none) {
    tracker_.setMap(KeyboardMap::read(*x_));
    tracker_.reset({}, 0, 0);
  }
  KeyTracker tracker_;
};

TEST_F(KeyTrackerTest, aPressInTheMomentOfTheReleaseIsARepeat) {
  EXPECT_FALSE(tracker_.key(true, kA, 1000)->isRepeat);
  EXPECT_TRUE(tracker_.key(false, kA, 1500));
  EXPECT_TRUE(tracker_.key(true, kA, 1500)->isRepeat);
  EXPECT_TRUE(tracker_.key(false, kA, 1600));
  EXPECT_FALSE(tracker_.key(false, kA, 1600)) << "a second release";
  EXPECT_FALSE(tracker_.key(true, kA, 1601)->isRepeat);
}

TEST_F(KeyTrackerTest, flagsChangeAtTheTimeOfTheKeyHoweverLateTheNewsComes) {
  EXPECT_FALSE(tracker_.key(true, kControl, 1000));
  const auto pressed = tracker_.state(kControlMask, 0, kControl, 3000);
  ASSERT_TRUE(pressed);
  EXPECT_EQ(pressed->time.count(), 1000);
  EXPECT_EQ(pressed->flags, modifier_flag::control);
  EXPECT_FALSE(tracker_.key(false, kControl, 1200));
  EXPECT_EQ(tracker_.state(0, 0, kControl, 3000)->time.count(), 1200);
  EXPECT_EQ(tracker_.state(kControlMask, 0, 0, 3500)->time.count(), 3500) << "latched by a program";
  EXPECT_FALSE(tracker_.state(kControlMask | XCB_MOD_MASK_LOCK, 0, 66, 3600)) << "a lock";
}

TEST_F(KeyTrackerTest, timeGoesOnWhenTheServersClockWrapsAround) {
  const auto before = tracker_.key(true, kA, 0xFFFFFFF0);
  const auto after = tracker_.key(false, kA, 0x10);
  ASSERT_TRUE(before && after);
  EXPECT_EQ((after->time - before->time).count(), 0x20);
}

TEST_F(KeyTrackerTest, keysAndModifiersHeldAtTheStartAreKnown) {
  KeyTracker::KeyBits down{};
  down[kA / 8] = 1U << (kA % 8);
  tracker_.reset(down, kControlMask, 0);
  const auto press = tracker_.key(true, kA, 1000);
  ASSERT_TRUE(press);
  EXPECT_TRUE(press->isRepeat);
  EXPECT_EQ(press->flags, modifier_flag::control);
  EXPECT_FALSE(tracker_.state(kControlMask, 0, 0, 1000));
}

}  // namespace
}  // namespace jumplark
