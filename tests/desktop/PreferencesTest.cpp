#include "desktop/support/Desktop.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::desktop {
namespace {

/// The preferences open over the demonstration program.
class PreferencesWindow : public ::testing::Test {
 protected:
  PreferencesWindow() {
    EXPECT_EQ(session.run({JUMPLARK_PROGRAM, "preferences", "General"}).status, 0);
    windows.waitFor("check box", "General");
  }

  Desktop desktop;
  PrivateSession& session = desktop.session;
  AppWindows windows{session};
  DemoProgram demo{desktop};
  RunningProgram program{session};
};

TEST_F(PreferencesWindow, showsEachPaneOnAClickOnItsButton) {
  const std::pair<const char*, const char*> cases[] = {
      {"About", "Free software under the MIT licence."},
      {"Advanced", "This version of Jumplark collects no usage metrics and sends none."},
      {"Usage", "Elements actioned"},
      {"General", "Activation shortcut:"},
      {"Help", "Jumplark works here."},
  };
  for (const auto& [pane, shows] : cases) {
    SCOPED_TRACE(pane);
    // The program operates its own window like any other.
    EXPECT_EQ(desktop.jumplark.run({"act", "--app", "jumplark", pane}).status, 0);
    EXPECT_TRUE(windows.waitForState("check box", pane, "checked"));
    const PixelRect shown = windows.waitFor("label", shows).rect;
    EXPECT_TRUE(waitUntil([&] {
      const std::vector<uint32_t> pixels = session.pixels(shown);
      return std::set<uint32_t>(pixels.begin(), pixels.end()).size() > 8;
    })) << "no more colours than an empty pane has at "
        << shown;
  }
  // It tells what the doctor tells, of the application behind the preferences too.
  EXPECT_FALSE(windows.shows("label", "accessibility bus: "));
  windows.click("check box", "Show all");
  windows.waitFor("label", "reading: ");
  EXPECT_TRUE(windows.shows("label", "accessibility bus: "));
  program.close();
}

TEST_F(PreferencesWindow, recordsAShortcutThatThenWorksAndRefusesOneThatIsTaken) {
  const auto record = [this](const std::string& now, const Arguments& keys) {
    windows.click("push button", now);
    windows.waitFor("push button", "Type New Shortcut");
    session.press(keys);
  };
  record("Super+Shift+Space", {"super+j"});
  windows.waitFor("push button", "Super+J");
  EXPECT_TRUE(windows.waitForSetting("ActivationShortcut", {{"KeyCode", 65642}, {"ModifierFlags", 0x100000}}));
  ASSERT_TRUE(waitUntil([this] { return session.takeKey(kSpace, kSuperAndShift); })) << "the old one is not free";
  record("Super+J", {"shift+j"});
  windows.waitFor("label", "Shift+J would be taken from every other program.");
  program.key(RunningProgram::kShortcut);
  windows.waitFor("label", "The key combination Super+Shift+Space cannot be used");
  windows.click("push button", "OK");
  windows.waitFor("push button", "Super+J");
  EXPECT_TRUE(windows.waitUntilGone("push button", "OK"));
  program.close();
  program.key("super+j");
  EXPECT_TRUE(program.waitUntilOpen());
  program.close();
}

}  // namespace
}  // namespace jumplark::desktop
