#include "input/ZMOModifierTapDetector.h"
#include "support/RecordedFixture.h"

namespace jumplark::testing {
namespace {

using std::chrono::milliseconds;

/// Control, Super ("M"), Shift, a lock key and a bit of the keyboard's own.
const std::map<char, uint64_t> kModifiers = {{'C', modifier_flag::control},
                                             {'M', modifier_flag::command},
                                             {'S', modifier_flag::shift},
                                             {'L', 0x10000},
                                             {'d', 0x1}};

class ModifierTaps : public ::testing::Test {
 protected:
  ModifierTaps() {
    desktop_->queues().advance(std::chrono::hours(1));
    for (const char modifier : {'C', 'M', 'S'}) {
      subscribe(modifier, taps_);
    }
    detector_->activate();
  }

  /// Notes the modifier with the count that the tap is told with, "C1 ".
  void subscribe(char modifier, std::string& taps) {
    detector_->subscribeToModifierTapWithBlock(
        kModifiers.at(modifier),
        [&taps, modifier](uint64_t count, ZMOModifierTapDetector&) { taps += modifier + std::to_string(count) + ' '; });
  }
  /// A story is a list of times in milliseconds and what is held from then on, "-" for nothing; "!" is the press of a
  /// key.
  void play(const std::string& story, int start = 0) {
    std::istringstream words(story);
    std::string held;
    for (int time = 0; words >> time >> held;) {
      InputEvent event;
      event.type = held == "!" ? event_type::keyDown : event_type::flagsChanged;
      for (const char letter : held) {
        event.flags |= kModifiers.contains(letter) ? kModifiers.at(letter) : 0;
      }
      event.time = milliseconds(1'000'000 + start + time);
      EXPECT_TRUE(desktop_->input().inject(event)) << "it never swallows";
      desktop_->queues().advance(std::chrono::seconds(2));  // nothing is judged by when it arrives
    }
  }

  RecordedFixture desktop_{R"({"elements":{}})"};
  std::string taps_;
  std::unique_ptr<ZMOModifierTapDetector> detector_ = std::make_unique<ZMOModifierTapDetector>();
};

TEST_F(ModifierTaps, areToldWithTheirCount) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {"a single tap", "0 C 100 -", "C1 "},
      {"the longest tap", "0 C 400 -", "C1 "},
      {"held for longer", "0 C 401 -", ""},
      {"a tap of another modifier counts on", "0 C 50 - 200 M 250 -", "C1 M2 "},
      {"three taps within the first one's time", "0 C 50 - 200 C 250 - 650 C 749 -", "C1 C2 C3 "},
      {"the first tap's time is not prolonged by the second", "0 C 50 - 500 C 550 - 700 C 751 -", "C1 C2 C1 "},
      {"the second tap's time cuts the next series short", "0 C 50 - 600 C 700 - 800 C 850 - 1380 C 1401 -",
       "C1 C2 C1 C1 "},
      {"the first press's time ends the second press's candidate", "0 C 100 - 300 C 420 -", "C1 "},
      {"a key in between, then a tap", "0 C 50 ! 100 - 200 C 250 -", "C1 "},
      {"two modifiers pressed at once", "0 CS 100 -", ""},
      {"two modifiers, both released at once", "0 M 50 MS 100 -", "M1 "},
      {"the modifier that is let go last", "0 MS 50 S 100 -", "S1 "},
      {"device-dependent bits are no modifiers", "0 Cd 50 d", "C1 "},
      {"a lock key held meanwhile", "0 CL 50 -", ""},
      {"repeats of a key that is held", "0 C 660 - 660 C 700 - 700 C 740 - 740 C 800 -", ""},
      {"repeats that begin early count once", "0 C 250 - 250 C 290 - 290 C 330 -", "C1 "},
      {"another modifier in the moment of a release is not a repeat", "0 C 50 - 50 M 90 -", "C1 M2 "},
      {"a clock that begins anew", "5000000 C 0 - 10 C 60 -", "C1 "},
  };
  for (const auto& [what, story, taps] : cases) {
    SCOPED_TRACE(what);
    taps_.clear();
    play(story);
    EXPECT_EQ(taps_, taps);
    EXPECT_EQ(detector_->previousModifierState(), 0U) << "each ends with nothing held";
    play("10000000 -");  // whatever was pending is over
    EXPECT_EQ(detector_->successiveTapNumber(), 0U);
  }
}

TEST_F(ModifierTaps, areNotMadeByKeysThatWereHeldAtTheActivation) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"a shortcut's keys let go, then a tap", "0 MS", "100 S 200 - 300 C 350 -", "C1 "},
      {"a single key", "0 C", "100 - 200 C 250 -", "C1 "},
      {"one is let go and pressed again", "0 MS", "100 S 150 SM 200 S 250 -", ""},
      {"another key meanwhile", "0 M", "100 MC 150 C 200 -", "C1 "},
  };
  int start = 0;
  for (const auto& [what, held, story, taps] : cases) {
    SCOPED_TRACE(what);
    detector_->deactivate();
    desktop_->queues().advance(milliseconds(50));
    taps_.clear();
    start += 10'000;
    play(held, start);
    detector_->activate();
    play(story, start);
    EXPECT_EQ(taps_, taps);
  }
}

TEST_F(ModifierTaps, takeAsLongAsTheyMay) {
  detector_->setTapTimeout(0.1F);
  detector_->setSuccessiveTapTimeout(0.2F);
  EXPECT_EQ(std::pair(detector_->tapTimeout(), detector_->successiveTapTimeout()), std::pair(0.1F, 0.2F));
  play("0 C 101 - 200 C 299 - 400 C 498 - 510 C 560 -");
  EXPECT_EQ(taps_, "C1 C2 C1 ");
}

TEST_F(ModifierTaps, onlyTheLastBlockOfAModifierIsCalledAndOnlyWhileActive) {
  std::string second;
  subscribe('C', second);
  play("0 C 50 -");
  detector_->unsubscribeFromModifierTap(modifier_flag::control);
  play("100 C 150 - 200 M 250 -");
  EXPECT_EQ(second, "C1 ");
  EXPECT_EQ(taps_, "M3 ") << "a tap without a block counts too";
  EXPECT_EQ(detector_->successiveTapNumber(), 3U);
  EXPECT_TRUE(detector_->isActive());
  detector_->deactivate();
  desktop_->queues().advance(milliseconds(50));
  EXPECT_FALSE(detector_->isActive());
  play("300 M 350 -");
  EXPECT_EQ(taps_, "M3 ");
}

TEST_F(ModifierTaps, aBlockMayEndTheDetectorAndNoneIsCalledAfterwards) {
  detector_->subscribeToModifierTapWithBlock(modifier_flag::control, [&](uint64_t, ZMOModifierTapDetector& detector) {
    EXPECT_EQ(&detector, detector_.get());
    detector_.reset();
  });
  play("0 C 50 - 100 M 150 -");
  EXPECT_EQ(detector_, nullptr);
  EXPECT_EQ(taps_, "");
  EXPECT_EQ(desktop_->input().tapCount(), 0);
}

}  // namespace
}  // namespace jumplark::testing
