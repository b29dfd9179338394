#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "input/ZMOModifierTapDetector.h"
#include "support/RecordedFixture.h"

namespace jumplark {
namespace {

using std::chrono::milliseconds;
using testing::RecordedFixture;

constexpr uint64_t kControl = modifier_flag::control;
constexpr uint64_t kCommand = modifier_flag::command;
constexpr uint64_t kShift = modifier_flag::shift;
constexpr uint64_t kKeyDown = ~uint64_t{0};  // in a story: a key press instead of a change of the modifiers
constexpr uint64_t kCapsLock = 0x10000;
constexpr uint64_t kDeviceDependent = 0x1;

/// What happens at a time (milliseconds), and the modifiers held after it.
using Story = std::vector<std::pair<int, uint64_t>>;
/// The modifier that was tapped and the count it was told with.
using Taps = std::vector<std::pair<uint64_t, uint64_t>>;

class ModifierTaps : public ::testing::Test {
 protected:
  ModifierTaps() {
    desktop_->queues().advance(std::chrono::hours(1));
    for (const uint64_t modifier : {kControl, kCommand, kShift}) {
      detector_->subscribeToModifierTapWithBlock(
          modifier, [this, modifier](uint64_t count, ZMOModifierTapDetector&) { taps_.emplace_back(modifier, count); });
    }
    detector_->activate();
  }

  void play(const Story& story) {
    for (const auto& [time, flags] : story) {
      InputEvent event;
      event.type = flags == kKeyDown ? event_type::keyDown : event_type::flagsChanged;
      event.flags = flags == kKeyDown ? 0 : flags;
      event.time = milliseconds(1'000'000 + time);
      EXPECT_TRUE(desktop_->input().inject(event)) << "it never swallows";
      desktop_->queues().advance(std::chrono::seconds(2));  // nothing is judged by when it arrives
    }
  }

  RecordedFixture desktop_{R"({"elements":{}})"};
  Taps taps_;
  std::unique_ptr<ZMOModifierTapDetector> detector_ = std::make_unique<ZMOModifierTapDetector>();
};

TEST_F(ModifierTaps, areToldWithTheirCount) {
  const struct {
    const char* what;
    Story story;
    Taps taps;
  } cases[] = {
      {"a single tap", {{0, kControl}, {100, 0}}, {{kControl, 1}}},
      {"the longest tap", {{0, kControl}, {400, 0}}, {{kControl, 1}}},
      {"held for longer", {{0, kControl}, {401, 0}}, {}},
      {"a tap of another modifier counts on",
       {{0, kControl}, {50, 0}, {200, kCommand}, {250, 0}},
       {{kControl, 1}, {kCommand, 2}}},
      {"three taps within the first one's time",
       {{0, kControl}, {50, 0}, {200, kControl}, {250, 0}, {650, kControl}, {749, 0}},
       {{kControl, 1}, {kControl, 2}, {kControl, 3}}},
      {"the first tap's time is not prolonged by the second",
       {{0, kControl}, {50, 0}, {500, kControl}, {550, 0}, {700, kControl}, {751, 0}},
       {{kControl, 1}, {kControl, 2}, {kControl, 1}}},
      {"the second tap's time cuts the next series short",
       {{0, kControl}, {50, 0}, {600, kControl}, {700, 0}, {800, kControl}, {850, 0}, {1380, kControl}, {1401, 0}},
       {{kControl, 1}, {kControl, 2}, {kControl, 1}, {kControl, 1}}},
      {"the first press's time ends the second press's candidate",
       {{0, kControl}, {100, 0}, {300, kControl}, {420, 0}},
       {{kControl, 1}}},
      {"a key in between, then a tap",
       {{0, kControl}, {50, kKeyDown}, {100, 0}, {200, kControl}, {250, 0}},
       {{kControl, 1}}},
      {"two modifiers pressed at once", {{0, kControl | kShift}, {100, 0}}, {}},
      {"two modifiers, both released at once", {{0, kCommand}, {50, kCommand | kShift}, {100, 0}}, {{kCommand, 1}}},
      {"the modifier that is let go last", {{0, kCommand | kShift}, {50, kShift}, {100, 0}}, {{kShift, 1}}},
      {"device-dependent bits are no modifiers",
       {{0, kControl | kDeviceDependent}, {50, kDeviceDependent}},
       {{kControl, 1}}},
      {"a lock key held meanwhile", {{0, kControl | kCapsLock}, {50, 0}}, {}},
      {"repeats of a key that is held",
       {{0, kControl}, {660, 0}, {660, kControl}, {700, 0}, {700, kControl}, {740, 0}, {740, kControl}, {800, 0}},
       {}},
      {"repeats that begin early count once",
       {{0, kControl}, {250, 0}, {250, kControl}, {290, 0}, {290, kControl}, {330, 0}},
       {{kControl, 1}}},
      {"another modifier in the moment of a release is not a repeat",
       {{0, kControl}, {50, 0}, {50, kCommand}, {90, 0}},
       {{kControl, 1}, {kCommand, 2}}},
      {"a clock that begins anew", {{5'000'000, kControl}, {0, 0}, {10, kControl}, {60, 0}}, {{kControl, 1}}},
  };
  for (const auto& example : cases) {
    SCOPED_TRACE(example.what);
    taps_.clear();
    play(example.story);
    EXPECT_EQ(taps_, example.taps);
    EXPECT_EQ(detector_->previousModifierState(), 0U) << "each ends with nothing held";
    play({{10'000'000, 0}});  // whatever was pending is over
    EXPECT_EQ(detector_->successiveTapNumber(), 0U);
  }
}

TEST_F(ModifierTaps, areNotMadeByKeysThatWereHeldAtTheActivation) {
  const struct {
    const char* what;
    uint64_t held;
    Story story;
    Taps taps;
  } cases[] = {
      {"a shortcut's keys let go, then a tap",
       kCommand | kShift,
       {{0, kShift}, {100, 0}, {200, kControl}, {250, 0}},
       {{kControl, 1}}},
      {"a single key", kControl, {{0, 0}, {100, kControl}, {150, 0}}, {{kControl, 1}}},
      {"one is let go and pressed again",
       kCommand | kShift,
       {{0, kShift}, {50, kShift | kCommand}, {100, kShift}, {150, 0}},
       {}},
      {"another key meanwhile", kCommand, {{0, kCommand | kControl}, {50, kControl}, {100, 0}}, {{kControl, 1}}},
  };
  int start = 0;
  for (const auto& example : cases) {
    SCOPED_TRACE(example.what);
    detector_->deactivate();
    desktop_->queues().advance(milliseconds(50));
    taps_.clear();
    start += 10'000;
    play({{start, example.held}});
    detector_->activate();
    Story story = example.story;
    for (auto& [time, flags] : story) {
      time += start + 100;
    }
    play(story);
    EXPECT_EQ(taps_, example.taps);
  }
}

TEST_F(ModifierTaps, takeAsLongAsTheyMay) {
  detector_->setTapTimeout(0.1F);
  detector_->setSuccessiveTapTimeout(0.2F);
  EXPECT_EQ(std::pair(detector_->tapTimeout(), detector_->successiveTapTimeout()), std::pair(0.1F, 0.2F));
  play({{0, kControl}, {101, 0}, {200, kControl}, {299, 0}, {400, kControl}, {498, 0}, {510, kControl}, {560, 0}});
  EXPECT_EQ(taps_, (Taps{{kControl, 1}, {kControl, 2}, {kControl, 1}}));
}

TEST_F(ModifierTaps, onlyTheLastBlockOfAModifierIsCalledAndOnlyWhileActive) {
  Taps second;
  detector_->subscribeToModifierTapWithBlock(kControl, [&](uint64_t count, ZMOModifierTapDetector& detector) {
    EXPECT_EQ(&detector, detector_.get());
    second.emplace_back(kControl, count);
  });
  play({{0, kControl}, {50, 0}});
  detector_->unsubscribeFromModifierTap(kControl);
  play({{100, kControl}, {150, 0}, {200, kCommand}, {250, 0}});
  EXPECT_EQ(second, (Taps{{kControl, 1}}));
  EXPECT_EQ(taps_, (Taps{{kCommand, 3}})) << "a tap without a block counts too";
  EXPECT_EQ(detector_->successiveTapNumber(), 3U);
  EXPECT_TRUE(detector_->isActive());
  detector_->deactivate();
  desktop_->queues().advance(milliseconds(50));
  EXPECT_FALSE(detector_->isActive());
  play({{300, kCommand}, {350, 0}});
  EXPECT_EQ(taps_.size(), 1U);
}

TEST_F(ModifierTaps, aBlockMayEndTheDetectorAndNoneIsCalledAfterwards) {
  detector_->subscribeToModifierTapWithBlock(kControl, [&](uint64_t, ZMOModifierTapDetector&) { detector_.reset(); });
  play({{0, kControl}, {50, 0}, {100, kCommand}, {150, 0}});
  EXPECT_EQ(detector_, nullptr);
  EXPECT_TRUE(taps_.empty());
  EXPECT_EQ(desktop_->input().tapCount(), 0);
}

}  // namespace
}  // namespace jumplark
