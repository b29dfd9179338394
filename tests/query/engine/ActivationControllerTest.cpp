#include "input/ZMOModifierTapDetector.h"
#include "overlay/JLDiscoveryController.h"
#include "query/engine/EngineFixture.h"

namespace jumplark::testing {
namespace {

/// Of each thing that is on only while an activation runs, whether it is.
std::set<bool> whatIsOn(EngineFixture& fixture) {
  fixture.user("+60");
  return {fixture.isActive(),
          fixture.window().isVisible(),
          fixture.window().isKeyMonitorInstalled(),
          fixture.engine->currentApp().value().has_value(),
          fixture.engine->discoveryController().isActive(),
          fixture.engine->modifierTapDetector().isActive(),
          fixture.desktop->inputSources().currentKeyboardLayout()->identifier == "ru",
          fixture.shownBoxes() > 0};
}

TEST(ActivationController, leavesNothingBehindWhicheverWayItEnds) {
  for (const std::string end : {"Escape", "shortcut", "elsewhere", "Super-comma"}) {
    const bool switchesBack = end == "Escape" || end == "shortcut";
    EngineFixture fixture;
    fixture.desktop->inputSources().setLayouts({{"us", "English (US)"}, {"ru", "Russian"}});
    fixture.desktop->defaults().setValue("ForceKeyboardLayout", "ru");
    fixture.user("+1 shortcut 'save +101");
    EXPECT_EQ(whatIsOn(fixture), std::set{true}) << end;
    const int flushes = fixture.desktop->accessibility().endedSnapshots();
    fixture.user(end);
    EXPECT_EQ(fixture.shownBoxes(), 0U) << end << ": at once";
    EXPECT_EQ(whatIsOn(fixture), std::set{false}) << end;
    EXPECT_EQ(fixture.window().text(), "") << end;
    EXPECT_EQ(fixture.desktop->accessibility().endedSnapshots(), flushes + 1);
    EXPECT_EQ(fixture.preferences.shown, end == "Super-comma" ? 1 : 0);
    EXPECT_EQ(fixture.completedQuery(), switchesBack ? "(none)" : "save") << end;
    using Activations = std::vector<std::pair<int32_t, uint32_t>>;
    EXPECT_EQ(fixture.desktop->workspace().activations(),
              switchesBack ? (Activations{{1, 0}, {1, kActivateIgnoringOtherApps}}) : Activations())
        << end << ": the application, then with its window";
    const auto operations = fixture.desktop->accessibility().operations();
    EXPECT_EQ(operations.empty() ? "" : operations[0].name, switchesBack ? "AXRaise" : "") << end;
    fixture.user("+3000");
    EXPECT_EQ(fixture.window().timesShown(), 1) << end;
    EXPECT_EQ(fixture.desktop->views().activations(), 1) << end;
  }
}

TEST(ActivationController, choosesItsTarget) {
  // Without one in front that is not this program, the first of the list is taken whatever it is: 1.
  using Frontmost = std::optional<int32_t>;
  const std::vector<std::tuple<Frontmost, const char*, const char*, int32_t, int>> cases = {
      {2, "org.example.mail", "", 2, 1},
      {3, "jumplark", "Preferences", 3, 0},
      {3, "jumplark", "", 1, 1},
      {std::nullopt, "", "", 1, 1}};
  for (const auto& [frontmost, bundle, titleOfOwnWindow, target, preferencesHidden] : cases) {
    EngineFixture fixture;
    fixture.desktop->workspace().setFrontmost(frontmost);
    fixture.desktop->accessibility().setAttribute("ow", "AXTitle", titleOfOwnWindow);
    fixture.user("shortcut +1");
    ASSERT_TRUE(fixture.engine->currentApp().value()) << bundle;
    EXPECT_EQ(fixture.engine->currentApp().value()->pid, target) << bundle;
    EXPECT_EQ(fixture.preferences.hidden, preferencesHidden) << bundle;
    EXPECT_EQ(fixture.metrics.eventsNamed("activation"), (std::vector<MetricData>{{{"bundle_id", bundle}}}));
  }
  EngineFixture fixture(DesktopText::of(""));
  EXPECT_FALSE(fixture.engine->hotkeyPressed());
  EXPECT_FALSE(fixture.window().isVisible());
  EXPECT_EQ(fixture.desktop->input().beepCount(), 1) << "there is no application at all";
}

}  // namespace
}  // namespace jumplark::testing
