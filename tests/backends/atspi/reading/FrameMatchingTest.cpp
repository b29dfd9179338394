#include <gtest/gtest.h>

#include <functional>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/FrameMatching.h"
#include "backends/linux/atspi/reading/SnapshotReader.h"
#include "backends/linux/atspi/toolkits/Toolkits.h"

namespace jumplark::atspi {
namespace {

const Toolkit& toolkit(const std::string& name, const std::string& version) {
  static const Toolkits all;
  return all.of({name, version, "", ""});
}

WindowFacts window(uint32_t id, const std::string& title, Rect client, WindowType type = WindowType::normal) {
  WindowFacts facts;
  facts.id = id;
  facts.title = title;
  facts.surface = client;
  facts.frame = {client.x - 5, client.y - 24, client.width + 10, client.height + 29};
  facts.type = type;
  return facts;
}

FrameFacts frame(const std::string& id, const std::string& name, Rect reported, bool active = false) {
  const uint64_t states = active ? 1ULL << state::active : 0;
  return {makeRef(":1.1", "/" + id), role::frame, states, name, reported};
}

/// "window:frame" for every match, in the order of the windows.
std::string matches(const std::vector<FrameFacts>& frames, const std::vector<WindowFacts>& windows,
                    const Toolkit& toolkit) {
  std::string text;
  for (const MatchedFrame& m : matchFrames(frames, windows, toolkit)) {
    text += std::to_string(m.window.id.low) + ":" + handleOf(m.frame.element)->path().substr(1) + " ";
  }
  return text;
}

const Rect kClient{100, 50, 400, 300};

TEST(FrameMatching, recognisesEveryToolkitsIdeaOfAFrame) {
  const auto gtk3 = std::cref(toolkit("gtk", "3.24.38"));
  const auto gtk4 = std::cref(toolkit("GTK", "4.8.3"));
  const auto qt = std::cref(toolkit("Qt", "6.4.2"));
  const auto browser = std::cref(toolkit("Chromium", "120"));
  WindowFacts shadowed = window(1, "Title", kClient);
  shadowed.shadow = {26, 26, 23, 29};
  shadowed.tellsShadow = true;
  const std::vector<WindowFacts> plain{window(1, "Title", kClient), window(2, "Other", {0, 0, 50, 50})};
  const std::vector<WindowFacts> shadow{shadowed, window(2, "Other", {0, 0, 50, 50})};
  const FrameFacts other = frame("other", "Other", {0, 0, 50, 50});
  EXPECT_EQ(matches({other, frame("f", "Title", {95, 26, 410, 329})}, plain, gtk3), "1:f 2:other ");
  EXPECT_EQ(matches({other, frame("f", "", {0, 0, 348, 248})}, shadow, gtk4), "1:f 2:other ");
  EXPECT_EQ(matches({other, frame("f", "", kClient)}, plain, qt), "1:f 2:other ");
  EXPECT_EQ(matches({frame("unnamed", "", {7, 7, 9, 9}), other, frame("f", "Title", kClient)}, plain, browser),
            "1:f 2:other ");
}

TEST(FrameMatching, decidesByTitlesThenByPlaces) {
  const auto qt = std::cref(toolkit("Qt", "5.15.8"));
  const Rect there{600, 50, 400, 300};
  EXPECT_EQ(matches({frame("a", "A", kClient), frame("b", "B", kClient)},
                    {window(1, "B", kClient), window(2, "A", kClient)}, qt),
            "1:b 2:a ");
  EXPECT_EQ(matches({frame("a", "Same", kClient), frame("b", "Same", there)},
                    {window(1, "Same", there), window(2, "Same", kClient)}, qt),
            "1:b 2:a ");
  EXPECT_EQ(matches({frame("a", "Same", kClient), frame("b", "Same", kClient, true)},
                    {window(1, "Same", kClient), window(2, "Same", kClient)}, qt),
            "1:b 2:a ");
}

TEST(FrameMatching, decidesBySizesThatMayHoldAShadowWhereTheWindowTellsNone) {
  WindowFacts large = window(1, "Same", {0, 0, 648, 448});
  WindowFacts small = window(2, "Same", kClient);
  large.knowsItsPlace = small.knowsItsPlace = false;
  EXPECT_EQ(matches({frame("a", "Same", {0, 0, 452, 352}, true), frame("b", "Same", {0, 0, 700, 500})}, {large, small},
                    toolkit("gtk", "3.24.38")),
            "1:b 2:a ");
}

TEST(FrameMatching, matchesWhatIsAlikeInNothingOnlyIfItIsAlone) {
  const auto qt = std::cref(toolkit("Qt", "6.4.2"));
  const FrameFacts odd = frame("odd", "Odd", {1, 1, 2, 2});
  EXPECT_EQ(matches({odd, frame("a", "A", kClient)}, {window(1, "A", kClient), window(2, "B", {0, 0, 9, 9})}, qt),
            "1:a ");
  EXPECT_EQ(matches({odd}, {window(1, "A", kClient)}, qt), "1:odd ");
}

// A window of 400 by 300 that a person sees at (100, 50), as its surface holds it and its frame tells of itself.
TEST(FrameMatching, countsFromWhereTheToolkitDoesThatKnowsNoPlace) {
  const Rect shadowed{74, 27, 452, 352};
  const struct {
    const char* toolkit;
    const char* version;
    Rect surface;
    Rect reported;
    Point origin;
  } cases[] = {
      {"gtk", "3.24.38", shadowed, {0, 0, 452, 352}, {74, 27}},
      {"GTK", "4.8.3", shadowed, {0, 0, 400, 300}, {100, 50}},
      {"Qt", "6.4.2", {100, 50, 400, 300}, {0, 0, 400, 300}, {100, 50}},
      {"Qt", "6.4.2", {97, 20, 406, 333}, {0, 0, 400, 300}, {100, 50}},
      {"Chromium", "156", shadowed, {0, 0, 452, 352}, {74, 27}},
  };
  for (const auto& [name, version, surface, reported, origin] : cases) {
    WindowFacts facts;
    facts.knowsItsPlace = false;
    facts.surface = surface;
    facts.frame = {100, 50, 400, 300};
    EXPECT_EQ(toolkit(name, version).originIn(facts, reported), origin) << name;
  }
}

TEST(FrameMatching, givesTheFocusToTheTopmostNormalWindowOrDialog) {
  const FrameFacts bar = frame("bar", "", {0, 0, 800, 20}, true);
  const FrameFacts main = frame("main", "Main", kClient);
  const FrameFacts dialog = frame("dialog", "Dialog", kClient);
  const WindowFacts dock = window(1, "", {0, 0, 800, 20}, WindowType::dock);
  const WindowFacts top = window(2, "Dialog", kClient, WindowType::dialog);
  const WindowFacts below = window(3, "Main", kClient);
  EXPECT_EQ(focusedFrame({{bar, dock}, {dialog, top}, {main, below}}, {main, dialog, bar}, true), dialog.element);
  EXPECT_EQ(focusedFrame({{bar, dock}}, {bar}, true), ElementRef());
  EXPECT_EQ(focusedFrame({}, {main, bar}, false), bar.element);
}

}  // namespace
}  // namespace jumplark::atspi
