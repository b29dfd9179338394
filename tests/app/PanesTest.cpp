#include <utility>

#include "app/AppFixture.h"
#include "app/ShortcutRecord.h"
#include "platform/Input.h"
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
  std::optional<Shortcut> stored() { return shortcutFromRecord(desktop->defaults().storedValue("ActivationShortcut")); }
};

constexpr int64_t kJ = key_code::symbolBase + 'j';

TEST_F(Panes, StandInTheirOrderAndUnknownOnesAreNotShown) {
  show("Usage");
  std::vector<std::string> order;
  for (const auto& pane : preferences().panes()) {
    order.push_back(pane ? pane->identifier : "space");
  }
  EXPECT_THAT(order, ElementsAre("General", "Advanced", "Usage", "space", "Help", "About"));
  EXPECT_EQ(preferences().selectedPane(), "Usage");
  for (const char* unknown : {"usage", "", "space"}) {
    show(unknown);
    EXPECT_EQ(preferences().selectedPane(), "Usage") << unknown;
  }
}

TEST_F(Panes, WhereThereIsNoPlaceForAnIconThatIsSaidOnce) {
  desktop->appViews().statusBar = false;
  launchWelcomed();
  EXPECT_THAT(alerts(), IsEmpty()) << "the panel may only be starting";
  run(1min);
  ASSERT_EQ(alerts().size(), 1U);
  EXPECT_THAT(alerts()[0].text, HasSubstr("start Jumplark again"));
  answer(0);
  show("General");
  EXPECT_EQ(preferences().general.iconNote, "This desktop shows no such icons now.");
  app->applicationWillTerminate();
  app.reset();
  launch();
  run(1min);
  EXPECT_THAT(alerts(), IsEmpty());
}

TEST_F(Panes, TheRecorderSaysWhatItDoesAndRefusesWhatIsTaken) {
  show("General");
  const auto labels = [this] {
    const RecorderModel& model = preferences().general.recorder;
    return std::vector<std::string>{model.text, model.toolTip, model.canClear ? model.clearToolTip : ""};
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
  EXPECT_EQ(preferences().sheets()[0].title,
            "The key combination " + desktop->shortcuts().describe(wanted) + " cannot be used");
  preferences().answerSheet(0);
  EXPECT_EQ(labels()[0], standard);
  EXPECT_THAT(desktop->shortcuts().registered(), ElementsAre(Shortcut{49, 0x120000}));

  desktop->shortcuts().setTaken(wanted, false);
  user().recorderClicked();
  press(kJ, modifier_flag::shift);  // not enough for a shortcut
  EXPECT_TRUE(preferences().general.recorder.isRecording);
  press(wanted.keyCode, wanted.modifierFlags);
  EXPECT_FALSE(preferences().general.recorder.isRecording);
  EXPECT_EQ(stored(), wanted);
  EXPECT_TRUE(desktop->shortcuts().press(wanted));

  const std::pair<int64_t, bool> endings[] = {{key_code::escape, true}, {key_code::backspace, false}};
  for (const auto& [key, keeps] : endings) {
    user().recorderClicked();
    press(key, 0);
    EXPECT_EQ(stored().has_value(), keeps);
  }
  EXPECT_THAT(labels(), ElementsAre("Record Shortcut", "Click to record new shortcut", ""));
  user().recorderClicked();
  EXPECT_THAT(labels(), ElementsAre("Type Shortcut", "Type Shortcut", "Cancel"));
  user().paneDidDisappear("General");
  EXPECT_FALSE(preferences().general.recorder.isRecording);
}

TEST_F(Panes, SwitchesFollowTheSettingsWhoeverChangesThem) {
  collector = "https://metrics.example.org";
  desktop->inputSources().setLayouts({{"us", "English"}, {"de", "German"}});
  show("Advanced");
  EXPECT_TRUE(preferences().advanced.metricsEnabled);
  EXPECT_EQ(preferences().advanced.metricsLink, addresses.metricsExplanation);
  user().metricsLinkClicked();
  EXPECT_THAT(desktop->services().opened, ElementsAre(addresses.metricsExplanation));
  user().metricsToggled(false);
  run();
  EXPECT_EQ(desktop->defaults().storedValue("MetricsEnabled"), false);
  set("MetricsEnabled", true);
  EXPECT_TRUE(preferences().advanced.metricsEnabled);

  EXPECT_EQ(preferences().advanced.selectedLayout, 0U);
  user().layoutChosen(2);
  run();
  EXPECT_EQ(desktop->defaults().storedValue("ForceKeyboardLayout"), "de");
  set("ForceKeyboardLayout", "us");
  EXPECT_EQ(preferences().advanced.selectedLayout, 1U);

  show("General");
  user().launchAtLoginToggled(true);
  user().launchAtLoginToggled(true);
  EXPECT_EQ(desktop->loginItem().entries, 1);
  desktop->loginItem().change(false);
  run();
  EXPECT_FALSE(preferences().general.launchesAtLogin);
  desktop->loginItem().problem = "The disk is full.";
  user().launchAtLoginToggled(true);
  EXPECT_EQ(preferences().general.loginNote, "The disk is full.");
  EXPECT_FALSE(preferences().general.launchesAtLogin);
}

TEST_F(Panes, SayWhyNoMetricsAreSent) {
  const struct {
    const char* collector;
    bool refused;
    const char* note;
  } cases[] = {{"", false, "no address"}, {"https://metrics.example.org", true, "DO_NOT_TRACK"}};
  for (const auto& example : cases) {
    collector = example.collector;
    desktop->facts().refused = example.refused;
    show("Advanced");
    EXPECT_FALSE(preferences().advanced.metricsEnabled);
    EXPECT_FALSE(preferences().advanced.metricsCanChange);
    EXPECT_THAT(preferences().advanced.metricsNote, HasSubstr(example.note));
    app->applicationWillTerminate();
    app.reset();
  }
}

TEST_F(Panes, HelpOpensWhatThereIsAndShowsWhatIsWrongFirst) {
  using Level = DesktopServices::HealthFinding::Level;
  desktop->services().health = {{Level::ok, "a", "fine", ""}, {Level::failure, "b", "gone", "mend it"}};
  addresses.support.clear();
  show("Help");
  const auto& help = preferences().help;
  ASSERT_EQ(help.health.size(), 2U);
  EXPECT_EQ(help.health[0].name, "b");
  EXPECT_EQ(help.health[0].remedy, "mend it");
  EXPECT_FALSE(help.isChecking);
  EXPECT_EQ(help.buttons[0].note, "");
  EXPECT_NE(help.buttons[1].note, "");
  for (size_t button = 0; button < 4; ++button) {
    user().helpButtonClicked(button);
  }
  EXPECT_THAT(desktop->services().opened, ElementsAre(addresses.gettingStarted, addresses.composeMessage));
}

TEST_F(Panes, TellWhatWasDoneOnWhichDayAndWhichVersionThisIs) {
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

TEST_F(Panes, AWindowThatCannotBeMadeEndsTheProgram) {
  desktop->appViews().isComplete = false;
  launchWelcomed();
  app->showPreferences();
  run();
  ASSERT_EQ(alerts().size(), 1U);
  answer(0);
  EXPECT_EQ(steps.back(), "terminate");
}

}  // namespace
}  // namespace jumplark::testing
