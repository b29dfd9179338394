#include <numeric>

#include "app/AppFixture.h"
#include "app/ShortcutRecord.h"
#include "query/engine/JLQueryEngine.h"
#include "streams/NotificationCenter.h"

namespace jumplark::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Panes : public AppTest {
 protected:
  void show(const std::string& pane) {
    if (!app) {
      launchWelcomed();
    }
    app->preferencesController()->showPreferencesPaneWithTitle(pane);
    run();
  }
  PreferencesViewDelegate& user() { return *preferences().delegate(); }
  void press(int64_t keyCode, uint64_t flags) {
    user().recorderKeyDown({keyCode, flags, {}, {}, false});
    run();
  }
  std::optional<Shortcut> shortcut() { return shortcutFromRecord(stored("ActivationShortcut")); }
  const RecorderModel& recorder() { return preferences().general.recorder; }
};

constexpr int64_t kJ = key_code::symbolBase + 'j';

TEST_F(Panes, whereThereIsNoPlaceForAnIconThatIsSaidOnce) {
  desktop->appViews().statusBar = false;
  launchWelcomed();
  EXPECT_THAT(alerts(), IsEmpty()) << "the panel may only be starting";
  run(1min);
  ASSERT_EQ(alerts().size(), 1U);
  EXPECT_THAT(alerts()[0].text, HasSubstr("start Jumplark again"));
  EXPECT_FALSE(alerts()[0].takesKeyboard) << "the user types on meanwhile";
  answer(0);
  show("General");
  EXPECT_EQ(preferences().general.iconNote, "This desktop shows no such icons now.");
  quit();
  launch();
  run(1min);
  EXPECT_THAT(alerts(), IsEmpty());
}

TEST_F(Panes, theRecorderSaysWhatItDoesAndRefusesWhatIsTaken) {
  show("General");
  const auto labels = [this] {
    return std::vector{recorder().text, recorder().toolTip, recorder().canClear ? recorder().clearToolTip : ""};
  };
  const std::string standard = "Super+Shift+Space";
  EXPECT_THAT(labels(), ElementsAre(standard, "Click to record new shortcut", "Delete shortcut"));
  user().recorderClicked();
  EXPECT_THAT(labels(), ElementsAre("Type New Shortcut", "Type New Shortcut", "Use Old Shortcut"));
  EXPECT_THAT(desktop->shortcuts().registered(), IsEmpty()) << "it can be typed like any other";

  const Shortcut wanted{kJ, modifier_flag::command};
  desktop->shortcuts().setTaken(wanted);
  press(wanted.keyCode, wanted.modifierFlags);
  ASSERT_EQ(preferences().sheets().size(), 1U);
  EXPECT_THAT(preferences().sheets()[0].title, HasSubstr(desktop->shortcuts().describe(wanted) + " cannot be used"));
  preferences().answerSheet(0);
  EXPECT_THAT(desktop->shortcuts().registered(), ElementsAre(JLPreferencesController::standardShortcut));

  desktop->shortcuts().setTaken(wanted, false);
  user().recorderClicked();
  const Shortcut typing{kJ, modifier_flag::shift};
  press(typing.keyCode, typing.modifierFlags);
  EXPECT_TRUE(recorder().isRecording);
  EXPECT_THAT(recorder().hint, HasSubstr(desktop->shortcuts().describe(typing)));
  desktop->shortcuts().setKeyMissing(kJ + 1);
  press(kJ + 1, modifier_flag::command);
  EXPECT_THAT(recorder().hint, HasSubstr("This keyboard has no such key now"));
  EXPECT_EQ(recorder().resetTitle, "");
  press(wanted.keyCode, wanted.modifierFlags);
  EXPECT_EQ(recorder().hint, "");
  EXPECT_FALSE(recorder().isRecording);
  EXPECT_EQ(shortcut(), wanted);
  EXPECT_TRUE(desktop->shortcuts().press(wanted));
  EXPECT_EQ(recorder().resetTitle, "Use " + standard);
  user().recorderResetClicked();
  EXPECT_EQ(shortcut(), JLPreferencesController::standardShortcut);
  EXPECT_EQ(recorder().resetTitle, "");

  for (const int64_t key : {key_code::escape, key_code::backspace}) {
    user().recorderClicked();
    press(key, 0);
    EXPECT_EQ(shortcut().has_value(), key == key_code::escape);
  }
  EXPECT_THAT(labels(), ElementsAre("Record Shortcut", "Click to record new shortcut", ""));
  user().recorderClicked();
  EXPECT_THAT(labels(), ElementsAre("Type Shortcut", "Type Shortcut", "Cancel"));
  user().paneDidDisappear("General");
  EXPECT_FALSE(recorder().isRecording);
}

TEST_F(Panes, switchesFollowTheSettingsWhoeverChangesThem) {
  collector = "https://metrics.example.org";
  desktop->inputSources().setLayouts({{"us", "English"}, {"de", "German"}});
  show("Advanced");
  EXPECT_TRUE(preferences().advanced.metricsEnabled);
  EXPECT_THAT(preferences().advanced.metricsNote, HasSubstr("identifier of this installation"));
  user().metricsLinkClicked();
  EXPECT_THAT(desktop->services().opened, ElementsAre(addresses.metricsExplanation));
  user().metricsToggled(false);
  run();
  EXPECT_EQ(stored("MetricsEnabled"), false);
  set("MetricsEnabled", true);
  EXPECT_TRUE(preferences().advanced.metricsEnabled);

  EXPECT_EQ(preferences().advanced.selectedLayout, 0U);
  user().layoutChosen(2);
  run();
  EXPECT_EQ(stored("ForceKeyboardLayout"), "de");
  set("ForceKeyboardLayout", "us");
  EXPECT_EQ(preferences().advanced.selectedLayout, 1U);

  show("General");
  const std::tuple<const char*, void (PreferencesViewDelegate::*)(bool), bool GeneralPaneModel::*> switches[] = {
      {"ShowMenuBarIcon", &PreferencesViewDelegate::showIconToggled, &GeneralPaneModel::showsIcon},
      {"ModalModeEnabled", &PreferencesViewDelegate::staysOpenToggled, &GeneralPaneModel::staysOpen},
      {"CheckForUpdates", &PreferencesViewDelegate::updatesToggled, &GeneralPaneModel::looksForUpdates},
  };
  for (const auto& [key, toggled, shown] : switches) {
    const bool before = preferences().general.*shown;
    (user().*toggled)(!before);
    run();
    EXPECT_EQ(stored(key), !before) << key;
    set(key, before);
    EXPECT_EQ(preferences().general.*shown, before) << key;
  }
  user().launchAtLoginToggled(true);
  user().launchAtLoginToggled(true);
  EXPECT_EQ(desktop->loginItem().entries, 1);
  desktop->loginItem().change(false);
  run();
  desktop->loginItem().problem = "The disk is full.";
  user().launchAtLoginToggled(true);
  EXPECT_EQ(preferences().general.loginNote, "The disk is full.");
  EXPECT_FALSE(preferences().general.launchesAtLogin);
}

TEST_F(Panes, sayWhyNoMetricsAreSent) {
  const std::tuple<const char*, bool, const char*> cases[] = {{"", false, "collects no usage metrics"},
                                                              {"https://metrics.example.org", true, "DO_NOT_TRACK"}};
  for (const auto& [address, refused, note] : cases) {
    collector = address;
    desktop->facts().refused = refused;
    show("Advanced");
    EXPECT_FALSE(preferences().advanced.metricsEnabled);
    EXPECT_FALSE(preferences().advanced.metricsCanChange);
    EXPECT_EQ(preferences().advanced.offersMetrics, !collector.empty());
    EXPECT_THAT(preferences().advanced.metricsNote, HasSubstr(note));
    quit();
  }
}

TEST_F(Panes, offerOnlyWhatTheBuildHasAnAddressFor) {
  addresses.homepage = "https://example.org/";
  show("About");
  EXPECT_EQ(preferences().about.link, addresses.homepage);
  user().aboutLinkClicked();
  EXPECT_THAT(desktop->services().opened, ElementsAre(addresses.homepage));
  show("General");
  EXPECT_TRUE(preferences().general.offersUpdates);
  EXPECT_TRUE(desktop->appViews().choose("Check for updates..."));
  run();
  EXPECT_EQ(steps.back(), "check for updates");
  quit();

  addresses = {};
  show("Help");
  EXPECT_THAT(preferences().help.buttons, IsEmpty());
  show("About");
  EXPECT_EQ(preferences().about.link, "");
  show("General");
  EXPECT_FALSE(preferences().general.offersUpdates);
  EXPECT_FALSE(desktop->appViews().choose("Check for updates..."));
}

TEST_F(Panes, helpOpensWhatThereIsAndShowsWhatIsWrongFirst) {
  using Level = DesktopServices::HealthFinding::Level;
  desktop->services().health = {
      {Level::ok, "a", "fine", ""}, {Level::warning, "b", "so-so", "try it"}, {Level::failure, "c", "gone", "mend it"}};
  addresses.support.clear();
  show("Help");
  const auto& help = preferences().help;
  const auto names = [&help] {
    return std::accumulate(help.health.begin(), help.health.end(), std::string(),
                           [](const auto& all, const auto& finding) { return all + finding.name; });
  };
  EXPECT_EQ(help.summary, "One thing keeps Jumplark from working here.");
  EXPECT_EQ(help.worst, HelpPaneModel::Finding::Level::failure);
  EXPECT_EQ(names(), "cb") << "only what is not well";
  EXPECT_EQ(help.health[0].remedy, "mend it");
  user().allHealthToggled(true);
  EXPECT_EQ(names(), "cba");
  desktop->services().health.resize(1);
  user().allHealthToggled(false);
  user().healthRequested();
  run();
  EXPECT_EQ(help.summary, "All is well: Jumplark has all that it needs here.");
  EXPECT_EQ(names(), "");
  EXPECT_FALSE(help.isChecking);
  EXPECT_THAT(help.buttons, ElementsAre("Open documentation", "Tell others about Jumplark"));
  for (size_t button = 0; button < 3; ++button) {
    user().helpButtonClicked(button);
  }
  EXPECT_THAT(desktop->services().opened, ElementsAre(addresses.gettingStarted, addresses.composeMessage));
}

TEST_F(Panes, tellWhatWasDoneOnWhichDayAndWhichVersionThisIs) {
  // The recorded clock starts with the year 2020, at midnight in Greenwich; noon is the same day nearly everywhere.
  run(12h);
  desktop->defaults().setValue("UsageMetrics", nlohmann::json::parse(R"({
      "2020-01-01":{"elementsActioned":3},"2019-12-31":{"elementsActioned":1200},
      "2019-12-24":{"elementsActioned":5000}})"));
  show("Usage");
  const auto& rows = preferences().usage.rows;
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0],
            (UsagePaneModel::Row{"Elements actioned", "3", "1\u202F200", "5\u202F000", "2019-12-24", "6\u202F203"}));
  EXPECT_EQ(rows[1], (UsagePaneModel::Row{"Pointer travel saved", "0 px", "0 px", "0 px", "", "0 px"}));
  show("About");
  EXPECT_EQ(preferences().about.version, "Version 1.2 (34)");
}

}  // namespace
}  // namespace jumplark::testing
