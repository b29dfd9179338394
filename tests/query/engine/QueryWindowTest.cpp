#include <gtest/gtest.h>

#include "backends/recorded/RecordedQueryWindow.h"
#include "query/engine/JLQueryWindowController.h"
#include "query/engine/QueryWindowPlacement.h"
#include "support/DesktopText.h"
#include "support/OnMainThread.h"

namespace jumplark::testing {
namespace {

using std::chrono::milliseconds;

/// The controller of a query window, over an application (1) with a window.
struct QueryWindow {
  RecordedFixture desktop{DesktopText::of(R"(
    app AXApplication AXFocusedWindow=@w
      w AXWindow 100,100/600,400
  )",
                                          R"("screens":[[0,0,1440,900]],)")};
  std::string told;
  JLQueryWindowController controller{{[this](const KeyEvent& event) { told += std::to_string(event.keyCode) + " "; },
                                      [this] { told += "resigned "; }}};
  RecordedQueryWindow& view = *desktop->views().queryWindow();

  void onMain(const std::function<void()>& action) { onMainThread(desktop, action); }
  void advance(int time) { desktop->queues().advance(milliseconds(time)); }
  void show(bool shown) {
    onMain([&] { controller.targetApp().set(shown ? desktop.element("app") : nullptr); });
  }
};

TEST(JLQueryWindowController, placesTheWindowBelowItsTargetAndInsideTheWorkArea) {
  const std::vector<Rect> screens = {{0, 0, 1000, 800}, {1000, 0, 800, 600}};
  const std::vector<Rect> areas = {{0, 40, 1000, 730}, {1000, 0, 800, 600}};
  const std::vector<std::tuple<const char*, Rect, Point>> cases = {
      {"below", {100, 300, 400, 200}, {200, 300}},
      {"no screen below: inside at the bottom, above the panel", {100, 0, 400, 700}, {200, 90}},
      {"below, but on the panel", {100, 60, 400, 700}, {200, 90}},
      {"maximised", {0, 40, 1000, 730}, {400, 90}},
      {"left of all screens", {-300, 300, 300, 200}, {0, 350}},
      {"above all screens", {100, 900, 400, 200}, {200, 770}},
      {"on the second screen", {1200, 100, 400, 300}, {1300, 100}},
      {"across both, mostly on the second", {960, 300, 200, 200}, {1000, 300}},
      {"a window without extent", {}, {0, 90}},
  };
  for (const auto& [name, target, topLeft] : cases) {
    EXPECT_EQ(queryWindowTopLeft(target, {200, 50}, screens, areas), topLeft) << name;
  }
  EXPECT_EQ(queryWindowTopLeft({}, {200, 50}, {}, {}), (Point{-100, 50}));
}

TEST(JLQueryWindowController, showsTheWindowOverItsTargetsOrElseTheMainScreen) {
  QueryWindow window;
  EXPECT_EQ(window.view.level(), window_level::dock + 1);
  EXPECT_FALSE(window.view.isVisible());
  window.show(true);
  EXPECT_EQ(window.view.frame(), (Rect{200, 350, 400, 50})) << "the target's is at (100, 400), 600 by 400";
  EXPECT_TRUE(window.view.isKey());
  EXPECT_TRUE(window.view.isFieldFirstResponder());
  window.desktop->workspace().setFocusedWindowFrame(1, std::nullopt);
  window.show(true);
  EXPECT_EQ(window.view.frame().x, 200) << "it stays where the user began to type";
  window.show(false);
  window.show(true);
  EXPECT_EQ(window.view.frame(), (Rect{520, 0, 400, 50}));
}

TEST(JLQueryWindowController, tellsOfKeysAndOfTheKeyboardsLossAndKeepsControlFromTheText) {
  QueryWindow window;
  window.show(true);
  const auto key = [](int64_t code, uint64_t flags) { return KeyEvent{code, flags, {}, {}, false}; };
  const uint64_t control = modifier_flag::control;
  const uint64_t command = modifier_flag::command;
  const std::vector<std::tuple<KeyEvent, const char*, const char*>> toldAndText = {
      {{65, 0, "a", "a", false}, "65 ", "a"},
      {key(key_code::backspace, control), "51 ", "a"},
      {key(key_code::backspace, control | modifier_flag::shift), "51 ", ""},
      {key(key_code::returnKey, command | modifier_flag::shift), "36 36 ", ""},
      {key(key_code::returnKey, modifier_flag::option), "36 ", ""},
      {key(key_code::tab, command), "48 ", ""},
  };
  for (const auto& [event, told, text] : toldAndText) {
    window.told.clear();
    window.onMain([&, &pressed = event] { window.view.press(pressed); });
    EXPECT_EQ(window.told, told) << event.keyCode << " " << event.flags;
    EXPECT_EQ(window.view.text(), text);
  }
  window.told.clear();
  window.onMain([&] {
    window.view.setKeyMonitorInstalled(false);
    window.view.resignFieldFirstResponder();
    window.view.press(key_code::escape);
    window.view.resignKey();
  });
  EXPECT_EQ(window.told, "53 resigned ") << "also where the field does not have the typing";
}

TEST(JLQueryWindowController, showsWithItsSpinnerOnlyWorkThatLastsWhileItIsShown) {
  QueryWindow window;
  EXPECT_TRUE(window.view.spinnerRuns());
  const auto opacityAfter = [&](int time) {
    window.advance(time);
    return window.view.spinnerOpacity();
  };
  window.controller.isWorking().set(true);
  EXPECT_EQ(opacityAfter(500), 0) << "hidden";
  window.show(true);
  EXPECT_EQ(opacityAfter(99), 0);
  EXPECT_EQ(opacityAfter(2), 1);
  EXPECT_EQ(window.view.spinnerChanges().back().second, milliseconds(100)) << "gradually";
  window.controller.isWorking().set(false);
  EXPECT_EQ(opacityAfter(150), 0);
  window.controller.isWorking().set(true);
  window.advance(60);
  window.controller.isWorking().set(false);
  EXPECT_EQ(opacityAfter(500), 0) << "a moment's work";
  window.controller.isWorking().set(true);
  ASSERT_EQ(opacityAfter(150), 1);
  window.show(false);
  EXPECT_EQ(window.view.spinnerChanges().back(), (std::pair<double, Duration>{0.0, Duration::zero()}));
  EXPECT_EQ(opacityAfter(500), 0);
}

}  // namespace
}  // namespace jumplark::testing
