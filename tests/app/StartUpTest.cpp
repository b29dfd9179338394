#include "app/AppFixture.h"
#include "app/ShortcutRecord.h"
#include "metrics/JLMetricsService.h"
#include "query/engine/JLQueryEngine.h"

namespace jumplark::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using StartUp = AppTest;

TEST_F(StartUp, greetsANewUserOnceAndGivesTheFocusBack) {
  launch();
  ASSERT_EQ(alerts().size(), 1U);
  EXPECT_EQ(alerts()[0].title, "Welcome to Jumplark!");
  EXPECT_THAT(steps, ElementsAre("crash reporter", "crash handlers", "feed https://u.example.org/updates/12.xml"));
  EXPECT_FALSE(app->engine()) << "the rest waits for the answer";
  EXPECT_FALSE(app->applicationShouldHandleReopenHasVisibleWindows(false));
  EXPECT_EQ(desktop->appViews().preferencesMade, 0) << "started again meanwhile it has nothing to show yet";

  answer(1);
  EXPECT_EQ(steps.back(), "started");
  for (int times = 0; times < 2; ++times) {
    app->applicationShouldHandleReopenHasVisibleWindows(false);
    app->applicationShouldHandleReopenHasVisibleWindows(false);
    ASSERT_EQ(preferences().sheets().size(), 1U) << "said once until it is answered";
    preferences().answerSheet(0);
    run();
  }
  EXPECT_EQ(stored("shownHelpOnStart"), true);
  EXPECT_THAT(desktop->services().opened, IsEmpty());
  EXPECT_EQ(shortcutFromRecord(stored("ActivationShortcut")), (Shortcut{49, 0x120000}));
  EXPECT_THAT(desktop->workspace().activations(), ElementsAre(std::pair(501, kActivateIgnoringOtherApps)));

  quit();
  launch();
  EXPECT_THAT(alerts(), IsEmpty());
  EXPECT_EQ(steps.back(), "started");
}

TEST_F(StartUp, withoutThePermissionItSaysHowToGetItAndEnds) {
  const std::tuple<const char*, int, const char*, bool> cases[] = {{"10.10.5", 0, "Open Security", true},
                                                                   {"10.9", 1, "Open Security", true},
                                                                   {"10.8.5", 1, "Open Universal Access", false},
                                                                   {"10.11", 2, "Open Universal Access", true},
                                                                   {"12", -1, "Open Universal Access", true}};
  desktop->services().granted = false;
  for (const auto& [version, button, first, hasBrowser] : cases) {
    SCOPED_TRACE(version);
    desktop->facts().operatingSystemFacts.version = version;
    desktop->services().opened.clear();
    desktop->services().settingsOpened = 0;
    desktop->services().hasBrowser = hasBrowser;
    launch();
    ASSERT_EQ(alerts().size(), 1U);
    EXPECT_EQ(alerts()[0].title, "Enable access for Assistive Devices");
    EXPECT_THAT(alerts()[0].buttons, ElementsAre(first, "Help", "Quit"));
    answer(button);
    if (!hasBrowser) {
      EXPECT_NE(steps.back(), "terminate") << "not before the message was read";
      answer(0);
    }
    EXPECT_THAT(steps, ElementsAre("crash reporter", "crash handlers", "terminate"));
    steps.clear();
    EXPECT_EQ(desktop->services().settingsOpened, button == 0 ? 1 : 0);
    const std::vector<std::string> help{"https://help.example.org/start#allow-access"};
    EXPECT_EQ(desktop->services().opened, button == 1 ? help : std::vector<std::string>());
    EXPECT_FALSE(app->engine());
    quit();
  }
  EXPECT_EQ(stored("shownHelpOnStart"), nullptr);
  EXPECT_EQ(stored("ActivationShortcut"), nullptr);
}

TEST_F(StartUp, waitsForNoApplicationLongerThanHalfASecond) {
  RecordedAccessibility& accessibility = desktop->accessibility();
  accessibility.setMessagingTimeout(accessibility.systemWideElement(), 9);
  launchWelcomed();
  for (const auto& [delay, answers] : {std::pair(499, true), {501, false}}) {
    accessibility.setDelay("e1", delay);
    EXPECT_EQ(accessibility.copyAttributeValue(accessibility.element("e1"), "AXRole").ok(), answers) << delay;
  }
}

TEST_F(StartUp, countsAndReportsWhatTheEngineDoes) {
  collector = "https://metrics.example.org";
  launchWelcomed();
  ASSERT_TRUE(JLMetrics::sharedInstance().isActive());
  app->engine()->hotkeyPressed();
  run(1s);
  EXPECT_GT(JLMetrics::sharedInstance().service()->pendingEventCount(), 0U);
  const int writes = desktop->defaults().synchronizeCount();
  app->applicationWillTerminate();
  EXPECT_EQ(desktop->defaults().synchronizeCount(), writes + 1);
  EXPECT_FALSE(JLMetrics::sharedInstance().isActive());
  const auto kept = desktop->files().contents(desktop->files().applicationSupportDirectory().path + "/Metrics.dat");
  ASSERT_TRUE(kept);
  EXPECT_THAT(*kept, ::testing::HasSubstr("\"name\":\"activation\""));
}

}  // namespace
}  // namespace jumplark::testing
