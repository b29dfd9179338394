#include <utility>

#include "app/AppFixture.h"
#include "app/ShortcutRecord.h"
#include "metrics/JLMetrics.h"
#include "metrics/JLMetricsService.h"
#include "platform/Workspace.h"
#include "query/engine/JLQueryEngine.h"

namespace jumplark::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using StartUp = AppTest;

TEST_F(StartUp, GreetsANewUserOnceAndGivesTheFocusBack) {
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
    EXPECT_FALSE(app->applicationShouldHandleReopenHasVisibleWindows(false));
    app->applicationShouldHandleReopenHasVisibleWindows(false);
    ASSERT_EQ(preferences().sheets().size(), 1U) << "said once until it is answered";
    preferences().answerSheet(0);
    run();
  }
  EXPECT_EQ(desktop->defaults().storedValue("shownHelpOnStart"), true);
  EXPECT_THAT(desktop->services().opened, IsEmpty());
  EXPECT_EQ(shortcutFromRecord(desktop->defaults().storedValue("ActivationShortcut")), (Shortcut{49, 0x120000}));
  EXPECT_THAT(desktop->workspace().activations(), ElementsAre(std::pair(501, kActivateIgnoringOtherApps)));

  app->applicationWillTerminate();
  app.reset();
  launch();
  EXPECT_THAT(alerts(), IsEmpty());
  EXPECT_EQ(steps.back(), "started");
}

TEST_F(StartUp, OpensTheGuideOfTheSiteOrOfThisMachineOrSaysWhereItIs) {
  const std::string site = "https://help.example.org/start";
  const std::string file = "/usr/share/jumplark/guide/index.html";
  const struct {
    std::string site, installed;
    bool hasBrowser;
    std::vector<std::string> opened;
    std::string said;
  } cases[] = {{site, file, true, {site}, ""},
               {"", file, true, {file}, ""},
               {site, file, false, {site}, site},
               {"", file, false, {file}, file},
               {"", "", true, {}, "was not installed"}};
  for (const auto& example : cases) {
    SCOPED_TRACE(example.site + " " + example.said);
    desktop->defaults().setValue("shownHelpOnStart", nullptr);
    desktop->services().opened.clear();
    addresses.gettingStarted = example.site;
    desktop->services().documentation = example.installed;
    desktop->services().hasBrowser = example.hasBrowser;
    launch();
    answer(0);
    EXPECT_EQ(desktop->services().opened, example.opened);
    ASSERT_EQ(alerts().size(), example.said.empty() ? 0U : 1U);
    EXPECT_EQ(steps.back(), "started");
    if (!example.said.empty()) {
      EXPECT_THAT(alerts()[0].text, ::testing::HasSubstr(example.said));
      answer(0);
    }
    app->applicationWillTerminate();
    app.reset();
  }
}

TEST_F(StartUp, WithoutThePermissionItSaysHowToGetItAndEnds) {
  const struct {
    const char* version;
    int button;
    const char* first;
    const char* opened;
    bool hasBrowser = true;
  } cases[] = {{"10.10.5", 0, "Open Security", "settings"},
               {"10.9", 1, "Open Security", "https://help.example.org/start#allow-access"},
               {"10.8.5", 1, "Open Universal Access", "https://help.example.org/start#allow-access", false},
               {"10.8.5", 0, "Open Universal Access", "settings"},
               {"10.11", 2, "Open Universal Access", ""},
               {"12", -1, "Open Universal Access", ""}};
  desktop->services().granted = false;
  for (const auto& example : cases) {
    SCOPED_TRACE(example.version);
    desktop->facts().operatingSystemFacts.version = example.version;
    desktop->services().opened.clear();
    desktop->services().settingsOpened = 0;
    desktop->services().hasBrowser = example.hasBrowser;
    launch();
    ASSERT_EQ(alerts().size(), 1U);
    EXPECT_EQ(alerts()[0].title, "Enable access for Assistive Devices");
    EXPECT_THAT(alerts()[0].buttons, ElementsAre(example.first, "Help", "Quit"));
    answer(example.button);
    if (!example.hasBrowser) {
      EXPECT_NE(steps.back(), "terminate") << "not before the message was read";
      answer(0);
    }
    EXPECT_THAT(steps, ElementsAre("crash reporter", "crash handlers", "terminate"));
    steps.clear();
    EXPECT_EQ(desktop->services().settingsOpened, std::string(example.opened) == "settings" ? 1 : 0);
    if (std::string(example.opened).starts_with("http")) {
      EXPECT_THAT(desktop->services().opened, ElementsAre(example.opened));
    }
    EXPECT_FALSE(app->engine());
    app->applicationWillTerminate();
    app.reset();
  }
  EXPECT_EQ(desktop->defaults().storedValue("shownHelpOnStart"), nullptr);
  EXPECT_EQ(desktop->defaults().storedValue("ActivationShortcut"), nullptr);
}

TEST_F(StartUp, NamesTheFeedOfThisSystemAndNoneWithoutAServer) {
  for (const auto& [server, version, feed] :
       {std::tuple("https://u.example.org", "10.9.5", "10.9.5.xml"),
        std::tuple("https://u.example.org", "", "unknown.xml"), std::tuple("", "12", "")}) {
    steps.clear();
    addresses.updateServer = server;
    desktop->facts().operatingSystemFacts.version = version;
    launchWelcomed();
    EXPECT_EQ(steps[2],
              *server == '\0' ? std::string("feed ") : "feed https://u.example.org/updates/" + std::string(feed));
    app->applicationWillTerminate();
    app.reset();
  }
}

TEST_F(StartUp, WaitsForNoApplicationLongerThanHalfASecond) {
  RecordedAccessibility& accessibility = desktop->accessibility();
  accessibility.setMessagingTimeout(accessibility.systemWideElement(), 9);
  launchWelcomed();
  for (const auto& [delay, answers] : {std::pair(499, true), {501, false}}) {
    accessibility.setDelay("e1", delay);
    EXPECT_EQ(accessibility.copyAttributeValue(accessibility.element("e1"), "AXRole").ok(), answers) << delay;
  }
}

TEST_F(StartUp, AloneOnTheDesktopItActivatesNobody) {
  desktop->workspace().removeApplication(501);
  launchWelcomed();
  EXPECT_THAT(desktop->workspace().activations(), IsEmpty());
  EXPECT_EQ(steps.back(), "started");
}

TEST_F(StartUp, CountsAndReportsWhatTheEngineDoes) {
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
