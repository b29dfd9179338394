#pragma once

#include <atomic>
#include <cmath>
#include <mutex>

#include "backends/contract/AccessibilityContract.h"

/// The cases of DesktopContract about input devices. Include once in a program.
namespace jumplark::contract {

/// A tap that notes what it sees.
class WatchingTap {
 public:
  WatchingTap(InputPlatform& input, uint64_t mask) {
    EventTapConfiguration configuration;
    configuration.mask = mask;
    configuration.options = 1;
    handle_ = input.createEventTap(configuration, [this](uint32_t, const InputEvent& event) {
      const std::scoped_lock lock(mutex_);
      events_.push_back(event);
      return true;
    });
  }
  EventTapHandle& handle() { return *handle_; }
  bool exists() const { return handle_ != nullptr; }
  void destroy() { handle_.reset(); }
  std::vector<InputEvent> events() const {
    const std::scoped_lock lock(mutex_);
    return events_;
  }
  bool hasSeen(uint32_t type, int64_t keyCode) const {
    const std::vector<InputEvent> seen = events();
    return std::any_of(seen.begin(), seen.end(),
                       [&](const InputEvent& event) { return event.type == type && event.keyCode == keyCode; });
  }

 private:
  mutable std::mutex mutex_;
  std::vector<InputEvent> events_;
  std::unique_ptr<EventTapHandle> handle_;  // last, so that no call comes when the rest is gone
};

inline constexpr uint64_t kKeyMask = (1U << event_type::keyDown) | (1U << event_type::keyUp);
inline constexpr uint64_t kFlagsMask = 1U << event_type::flagsChanged;

TEST_P(DesktopContract, APostedMoveMovesThePointer) {
  const Rect frame = frameOf(button());
  const Point target{std::floor(frame.midX()), std::floor(frame.midY())};
  input().postMouseEvent({event_type::mouseMoved, target, 0}, event_location::hid);
  const double top = screens().frames().front().maxY();
  const Point expected{target.x, top - target.y - 1};
  waitUntil([&] { return screens().pointerLocation() == expected; });
}

TEST_P(DesktopContract, ATapStartsDisabledAndSeesKeysOnlyWhileEnabled) {
  WatchingTap control(input(), kKeyMask);
  WatchingTap tap(input(), kKeyMask);
  ASSERT_TRUE(control.exists() && tap.exists());
  EXPECT_FALSE(tap.handle().isEnabled());
  control.handle().setEnabled(true);
  desktop().typeKey(key_code::escape);
  waitUntil([&] { return control.hasSeen(event_type::keyUp, key_code::escape); });
  EXPECT_THAT(tap.events(), ::testing::IsEmpty());

  tap.handle().setEnabled(true);
  EXPECT_TRUE(tap.handle().isEnabled());
  desktop().typeKey(key_code::backspace);
  waitUntil([&] { return tap.hasSeen(event_type::keyUp, key_code::backspace); });
  EXPECT_TRUE(tap.hasSeen(event_type::keyDown, key_code::backspace));

  tap.handle().setEnabled(false);
  const size_t seen = tap.events().size();
  desktop().typeKey(key_code::space);
  waitUntil([&] { return control.hasSeen(event_type::keyUp, key_code::space); });
  EXPECT_EQ(tap.events().size(), seen);
}

TEST_P(DesktopContract, ADestroyedTapSeesNothing) {
  WatchingTap control(input(), kKeyMask);
  WatchingTap tap(input(), kKeyMask);
  ASSERT_TRUE(control.exists() && tap.exists());
  control.handle().setEnabled(true);
  tap.handle().setEnabled(true);
  tap.destroy();
  desktop().typeKey(key_code::escape);
  waitUntil([&] { return control.hasSeen(event_type::keyUp, key_code::escape); });
  EXPECT_THAT(tap.events(), ::testing::IsEmpty());
}

TEST_P(DesktopContract, ATapSeesOnlyTheTypesOfItsMask) {
  WatchingTap keys(input(), kKeyMask);
  WatchingTap flags(input(), kFlagsMask);
  ASSERT_TRUE(keys.exists() && flags.exists());
  keys.handle().setEnabled(true);
  flags.handle().setEnabled(true);
  desktop().typeKey(key_code::escape);
  waitUntil([&] { return keys.hasSeen(event_type::keyUp, key_code::escape); });
  EXPECT_THAT(flags.events(), ::testing::IsEmpty());
}

TEST_P(DesktopContract, FlagsTellWhichModifiersAreHeldAfterTheEvent) {
  for (const uint64_t flag : {modifier_flag::control, modifier_flag::shift, modifier_flag::option}) {
    WatchingTap tap(input(), kFlagsMask);
    ASSERT_TRUE(tap.exists());
    tap.handle().setEnabled(true);
    const auto lastFlags = [&] {
      const auto seen = tap.events();
      return seen.empty() ? ~uint64_t{0} : seen.back().flags & modifier_flag::deviceIndependentMask;
    };
    desktop().holdModifier(flag, true);
    waitUntil([&] { return lastFlags() == flag; });
    desktop().holdModifier(flag, false);
    waitUntil([&] { return lastFlags() == 0; });
  }
}

}  // namespace jumplark::contract
