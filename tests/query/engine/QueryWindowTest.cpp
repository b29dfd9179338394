#include "query/engine/EngineFixture.h"
#include "query/engine/JLQueryWindowController.h"
#include "query/engine/QueryWindowPlacement.h"

namespace jumplark::testing {
namespace {

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
  EngineFixture fixture;
  EXPECT_EQ(fixture.window().level(), window_level::dock + 1);
  fixture.user("shortcut");
  EXPECT_EQ(fixture.window().frame(), (Rect{200, 350, 400, 50})) << "the target's is at (100, 400), 600 by 400";
  EXPECT_TRUE(fixture.window().isKey());
  fixture.desktop->workspace().setFocusedWindowFrame(1, std::nullopt);
  fixture.user("+100");
  EXPECT_EQ(fixture.window().timesShown(), 1) << "not once more with the target's element";
  fixture.user("shortcut shortcut");
  EXPECT_EQ(fixture.window().frame(), (Rect{520, 0, 400, 50}));
}

TEST(JLQueryField, keepsControlFromItsTextAndTakesReturnWithCommandTwice) {
  EngineFixture fixture;
  const auto press = [&](int64_t code, uint64_t flags) {
    fixture.onMain([&] { fixture.window().press(key(code, flags)); });
  };
  fixture.user("shortcut +1 'save");
  press(key_code::backspace, modifier_flag::control);
  EXPECT_EQ(fixture.window().text(), "save");
  press(key_code::backspace, modifier_flag::control | modifier_flag::shift);
  EXPECT_EQ(fixture.window().text(), "sav");
  fixture.user("+101");
  press(key_code::returnKey, modifier_flag::command);
  EXPECT_EQ(fixture.clicks().size(), 2U) << "the match, then where the pointer is";
  EXPECT_EQ(fixture.reports("action.click.no-target"), 1U);
  fixture.user("shortcut");
  fixture.onMain([&] {
    fixture.window().setKeyMonitorInstalled(false);
    fixture.window().resignFieldFirstResponder();
  });
  fixture.user("Escape");
  EXPECT_FALSE(fixture.isActive()) << "a key reaches the window where the field does not have the typing";
}

TEST(JLQueryWindowController, showsWithItsSpinnerOnlyWorkThatLastsWhileItIsShown) {
  EngineFixture fixture;
  Property<bool>& isWorking = fixture.engine->queryWindowController().isWorking();
  const auto opacityAfter = [&](int time) {
    fixture.advance(time);
    return fixture.window().spinnerOpacity();
  };
  EXPECT_TRUE(fixture.window().spinnerRuns());
  isWorking.set(true);
  EXPECT_EQ(opacityAfter(500), 0) << "hidden";
  fixture.user("shortcut +500");
  isWorking.set(true);
  EXPECT_EQ(opacityAfter(99), 0);
  EXPECT_EQ(opacityAfter(2), 1);
  EXPECT_EQ(fixture.window().spinnerChanges().back().second, milliseconds(100)) << "gradually";
  isWorking.set(false);
  EXPECT_EQ(opacityAfter(150), 0);
  isWorking.set(true);
  fixture.advance(60);
  isWorking.set(false);
  EXPECT_EQ(opacityAfter(500), 0) << "a moment's work";
  isWorking.set(true);
  ASSERT_EQ(opacityAfter(150), 1);
  fixture.user("Escape");
  EXPECT_EQ(fixture.window().spinnerChanges().back(), (std::pair<double, Duration>{0.0, Duration::zero()}));
}

}  // namespace
}  // namespace jumplark::testing
