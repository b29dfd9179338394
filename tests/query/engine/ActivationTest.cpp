#include <gtest/gtest.h>

#include "input/ZMOModifierTapDetector.h"
#include "overlay/JLDiscoveryController.h"
#include "query/engine/EngineFixture.h"
#include "query/engine/QueryWindowPlacement.h"

namespace jumplark::testing {
namespace {

TEST(Activation, TheShortcutOpensAndCloses) {
  EngineFixture fixture;
  RecordedInputSources& layouts = fixture.desktop->inputSources();
  layouts.setLayouts({{"us", "English (US)"}, {"ru", "Russian"}});
  fixture.desktop->defaults().setValue("ForceKeyboardLayout", "ru");
  fixture.desktop->queues().runPending();
  EXPECT_TRUE(fixture.hotkey());
  EXPECT_TRUE(fixture.window().isKey());
  EXPECT_EQ(fixture.window().level(), window_level::dock + 1);
  EXPECT_TRUE(fixture.window().isFieldFirstResponder());
  EXPECT_TRUE(fixture.window().isKeyMonitorInstalled());
  EXPECT_EQ(fixture.engine->currentApp().value()->pid, 501);
  EXPECT_TRUE(fixture.engine->discoveryController().isActive());
  EXPECT_EQ(fixture.desktop->views().activations(), 1);
  EXPECT_EQ(layouts.currentKeyboardLayout()->identifier, "ru");
  fixture.advance(milliseconds(5));
  EXPECT_TRUE(fixture.engine->modifierTapDetector().isActive());
  const int flushes = fixture.desktop->accessibility().endedSnapshots();

  EXPECT_FALSE(fixture.hotkey());
  EXPECT_FALSE(fixture.window().isVisible());
  EXPECT_FALSE(fixture.window().isKeyMonitorInstalled());
  EXPECT_FALSE(fixture.engine->discoveryController().isActive());
  EXPECT_EQ(layouts.currentKeyboardLayout()->identifier, "us");
  EXPECT_EQ(fixture.desktop->accessibility().endedSnapshots(), flushes + 1);
  fixture.advance(milliseconds(60));
  EXPECT_FALSE(fixture.engine->modifierTapDetector().isActive());
  EXPECT_EQ(fixture.engine->currentApp().value(), std::nullopt);
  EXPECT_EQ(&JLQueryEngine::sharedInstance(), fixture.engine.get());
}

struct End {
  const char* name;
  std::function<void(EngineFixture&)> end;
  bool switchesBack;  ///< the target is activated and its window raised
};

TEST(Activation, EachRoadOutLeavesNothingOnTheScreen) {
  const std::vector<End> ends = {
      {"Escape", [](auto& f) { f.press(key_code::escape); }, true},
      {"Shift-Escape", [](auto& f) { f.press(key_code::escape, modifier_flag::shift); }, true},
      {"shortcut", [](auto& f) { f.hotkey(); }, true},
      {"click elsewhere", [](auto& f) { f.onMain([&] { f.window().resignKey(); }); }, false},
      {"Command-comma", [](auto& f) { f.pressCharacter(",", modifier_flag::command); }, false},
  };
  for (const End& c : ends) {
    EngineFixture fixture;
    fixture.open();
    fixture.typeAndSettle("save");
    ASSERT_TRUE(fixture.overlayShows()) << c.name;
    c.end(fixture);
    EXPECT_FALSE(fixture.isActive()) << c.name;
    EXPECT_FALSE(fixture.window().isVisible()) << c.name;
    EXPECT_EQ(fixture.window().text(), "") << c.name;
    EXPECT_FALSE(fixture.overlayShows()) << c.name;
    EXPECT_TRUE(fixture.matches().empty()) << c.name;
    using Activations = std::vector<std::pair<int32_t, uint32_t>>;
    EXPECT_EQ(fixture.desktop->workspace().activations(),
              c.switchesBack ? (Activations{{501, 0}, {501, kActivateIgnoringOtherApps}}) : Activations())
        << c.name << ": the application, then with its window";
    EXPECT_EQ(fixture.completedQuery(), c.switchesBack ? "(none)" : "save") << c.name;
    const auto operations = fixture.desktop->accessibility().operations();
    ASSERT_EQ(operations.size(), c.switchesBack ? 1U : 0U) << c.name;
    EXPECT_TRUE(!c.switchesBack || operations[0].name == "AXRaise") << c.name;
    fixture.advance(std::chrono::seconds(3));
    EXPECT_EQ(fixture.window().timesShown(), 1) << c.name;
    EXPECT_FALSE(fixture.overlayShows()) << c.name;
  }
}

TEST(Activation, HidingTheWindowDoesNotEndTheActivationThatFollowsAtOnce) {
  EngineFixture fixture;
  fixture.open();
  fixture.onMain([&] {
    fixture.engine->hotkeyPressed();
    fixture.engine->hotkeyPressed();
  });
  fixture.advance(milliseconds(500));
  EXPECT_TRUE(fixture.isActive());
  EXPECT_TRUE(fixture.window().isKey());
}

TEST(Activation, ChoosesItsTarget) {
  struct Case {
    const char* name;
    int frontmost;
    bool titled;  ///< this program's window has a title
    int target;
    int preferencesHidden;
  };
  // The first of the list is taken whatever it is: 501.
  const std::vector<Case> cases = {
      {"another application", 502, false, 502, 1},
      {"this program with its preferences", 900, true, 900, 0},
      {"this program without a titled window", 900, false, 501, 1},
      {"nothing in front", 0, false, 501, 1},
  };
  for (const Case& c : cases) {
    EngineFixture fixture(editorDesktop(c.frontmost));
    if (c.titled) {
      fixture.desktop->accessibility().setAttribute("ow", "AXTitle", "Preferences");
    }
    fixture.open();
    ASSERT_TRUE(fixture.engine->currentApp().value()) << c.name;
    EXPECT_EQ(fixture.engine->currentApp().value()->pid, c.target) << c.name;
    EXPECT_EQ(fixture.preferences.hidden, c.preferencesHidden) << c.name;
    const auto events = fixture.metrics.eventsNamed("activation");
    ASSERT_EQ(events.size(), 1U) << c.name;
    const std::string bundle = c.frontmost == 502 ? "org.example.mail" : c.frontmost == 900 ? "jumplark" : "";
    EXPECT_EQ(events[0].at("bundle_id"), AttributeValue(bundle)) << c.name;
  }
}

TEST(Activation, WithoutAnyApplicationItBeepsAndStaysIdle) {
  EngineFixture fixture(R"({"screens":[[0,0,800,600]],"elements":{}})");
  EXPECT_FALSE(fixture.hotkey());
  EXPECT_FALSE(fixture.window().isVisible());
  EXPECT_EQ(fixture.desktop->input().beepCount(), 1);
}

TEST(QueryWindow, IsPlacedBelowItsTargetAndInsideTheWorkArea) {
  const std::vector<Rect> screens = {{0, 0, 1000, 800}, {1000, 0, 800, 600}};
  const std::vector<Rect> areas = {{0, 40, 1000, 730}, {1000, 0, 800, 600}};
  struct Case {
    const char* name;
    Rect target;
    Point topLeft;
  };
  const std::vector<Case> cases = {
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
  for (const Case& c : cases) {
    EXPECT_EQ(queryWindowTopLeft(c.target, {200, 50}, screens, areas), c.topLeft) << c.name;
  }
  EXPECT_EQ(queryWindowTopLeft({}, {200, 50}, {}, {}), (Point{-100, 50}));
}

TEST(QueryWindow, StandsOverTheTargetsWindowOrElseTheMainScreen) {
  EngineFixture fixture;
  fixture.hotkey();
  EXPECT_EQ(fixture.window().frame(), (Rect{200, 350, 400, 50})) << "the target's window is at (100, 400), 600 by 400";
  fixture.hotkey();
  fixture.desktop->workspace().setFocusedWindowFrame(501, std::nullopt);
  fixture.hotkey();
  EXPECT_EQ(fixture.window().frame(), (Rect{520, 0, 400, 50}));
}

TEST(QueryWindow, TheSpinnerShowsOnlyWorkThatLasts) {
  const auto slow = [](EngineFixture& f) { f.desktop->accessibility().setDelay("save", 60); };
  const auto closed = [](EngineFixture& f, uint64_t flags) {
    f.open();
    f.typeAndSettle("save");
    flags == 0 ? f.onMain([&] { f.window().resignKey(); }) : f.press(key_code::escape);
    f.advance(milliseconds(500));
  };
  struct Case {
    const char* name;
    std::function<void(EngineFixture&)> before;
    std::function<void(EngineFixture&)> work;
    bool shown;
  };
  const std::vector<Case> cases = {
      {"opening at last", [](auto&) {}, [](auto& f) { f.open(); }, false},
      {"opening after Escape", [=](auto& f) { closed(f, 1); }, [](auto& f) { f.open(); }, false},
      {"opening after a click elsewhere", [=](auto& f) { closed(f, 0); }, [](auto& f) { f.open(); }, false},
      {"opening a slow application", [=](auto& f) { closed(f, 1), slow(f); }, [](auto& f) { f.open(); }, true},
      {"the same after a click elsewhere", [=](auto& f) { closed(f, 0), slow(f); }, [](auto& f) { f.open(); }, true},
      {"F5", [](auto& f) { f.open(); }, [](auto& f) { f.press(key_code::f5); }, false},
      {"F5 in a slow application", [=](auto& f) { f.open(), f.advance(milliseconds(500)), slow(f); },
       [](auto& f) { f.press(key_code::f5); }, true},
      {"typing", [](auto& f) { f.open(); }, [](auto& f) { f.typeAndSettle("save"); }, false},
  };
  for (const Case& c : cases) {
    EngineFixture fixture;
    c.before(fixture);
    EXPECT_EQ(fixture.window().spinnerOpacity(), 0) << c.name;
    c.work(fixture);
    EXPECT_EQ(fixture.window().spinnerOpacity(), 0) << c.name << ": at once";
    fixture.advance(milliseconds(150));
    EXPECT_EQ(fixture.window().spinnerOpacity(), c.shown ? 1 : 0) << c.name;
    fixture.advance(std::chrono::seconds(5));
    EXPECT_EQ(fixture.window().spinnerOpacity(), 0) << c.name << ": when it is done";
  }
}

TEST(QueryWindow, HidesItsSpinnerWithItself) {
  EngineFixture fixture;
  EXPECT_TRUE(fixture.window().spinnerRuns());
  fixture.desktop->accessibility().setDelay("save", 60);
  fixture.open();
  fixture.advance(milliseconds(150));
  ASSERT_EQ(fixture.window().spinnerOpacity(), 1);
  fixture.press(key_code::escape);
  EXPECT_EQ(fixture.window().spinnerChanges().back(), (std::pair<double, Duration>{0.0, Duration::zero()}));
  fixture.advance(milliseconds(500));
  EXPECT_EQ(fixture.window().spinnerOpacity(), 0);
}

TEST(QueryField, TakesOnlyReturnWithCommandForAnEquivalent) {
  EngineFixture fixture;
  struct Case {
    int64_t keyCode;
    uint64_t flags;
    bool taken;
  };
  const std::vector<Case> cases = {
      {key_code::returnKey, modifier_flag::command, true},
      {key_code::returnKey, modifier_flag::command | modifier_flag::shift, true},
      {key_code::returnKey, 0, false},
      {key_code::returnKey, modifier_flag::control, false},
      {key_code::escape, modifier_flag::command, false},
      {key_code::tab, modifier_flag::command, false},
      {key_code::symbolBase + 'r', modifier_flag::command, false},
      {key_code::symbolBase + ',', modifier_flag::command, false},
  };
  JLQueryField field(fixture.window());
  for (const Case& c : cases) {
    EXPECT_EQ(field.performKeyEquivalent(KeyEvent{c.keyCode, c.flags, {}, {}, false}), c.taken)
        << c.keyCode << " " << c.flags;
  }
}

}  // namespace
}  // namespace jumplark::testing
