#include <csignal>
#include <fstream>
#include <iterator>
#include <set>

#include "desktop/DesktopTest.h"
#include "desktop/support/AppWindows.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::desktop {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

/// The preferences open over the demonstration program.
struct Preferences {
  explicit Preferences(json settings = json::object(), const std::string& pane = "General")
      : windows(desktop.session), demo(desktop.session), program(desktop.session, std::move(settings)) {
    EXPECT_EQ(desktop.session.run({JUMPLARK_PROGRAM, "preferences", pane}).status, 0);
    windows.waitFor("check box", pane);
  }
  PrivateSession& session() { return desktop.session; }
  bool checked(const std::string& box, bool is = true) { return windows.waitForState("check box", box, "checked", is); }

  Desktop desktop;
  AppWindows windows;
  DemoProgram demo;
  RunningProgram program;
};

/// More different colours than an empty pane has.
bool isPainted(PrivateSession& session, const PixelRect& rect) {
  std::set<uint32_t> colours;
  for (const uint32_t pixel : session.pixels(rect)) {
    colours.insert(pixel);
  }
  return colours.size() > 8;
}

TEST(PreferencesWindow, showsEachPaneOnAClickOnItsButton) {
  Preferences open;
  const struct {
    const char* pane;
    const char* role;
    const char* shows;
  } cases[] = {
      {"About", "label", "Free software under the MIT licence."},
      {"Advanced", "label", "This version of Jumplark collects no usage metrics and sends none."},
      {"Usage", "label", "Elements actioned"},
      {"Help", "label", "Jumplark works here."},
      {"General", "label", "Activation shortcut:"},
  };
  for (const auto& example : cases) {
    SCOPED_TRACE(example.pane);
    // The program operates its own window like any other.
    const Finished act = open.desktop.jumplark.run({"act", "--app", "jumplark", example.pane});
    EXPECT_EQ(act.status, 0) << act.err;
    EXPECT_TRUE(open.checked(example.pane));
    const AccessibleElement shown = open.windows.waitFor(example.role, example.shows);
    EXPECT_TRUE(waitUntil([&] { return isPainted(open.session(), shown.rect); })) << shown.rect;
  }
  // A build without addresses does not offer what needs them.
  for (const char* hidden : {"Look for updates once a day", "Send usage metrics", "Open support page"}) {
    EXPECT_FALSE(open.windows.find("check box", hidden) || open.windows.find("push button", hidden)) << hidden;
  }

  // The health page tells what the doctor tells, of the application behind the preferences too.
  open.windows.click("check box", "Help");
  open.windows.waitFor("label", "Jumplark works here.");
  EXPECT_FALSE(open.windows.shows("label", "accessibility bus: "));
  open.windows.click("check box", "Show all");
  open.windows.waitFor("label", "reading: ");
  EXPECT_TRUE(open.windows.shows("label", "accessibility bus: "));
  open.program.key("Escape");
  EXPECT_TRUE(open.program.waitUntilClosed());
}

TEST(PreferencesWindow, recordsAShortcutThatThenWorksAndRefusesOneThatIsTaken) {
  Preferences open;
  open.windows.click("push button", "Super+Shift+Space");
  open.windows.waitFor("push button", "Type New Shortcut");
  open.program.key("super+j");
  open.windows.waitFor("push button", "Super+J");
  EXPECT_TRUE(open.windows.waitForSetting("ActivationShortcut", {{"KeyCode", 65642}, {"ModifierFlags", 0x100000}}));

  Process& holder = open.session().start({JUMPLARK_SHORTCUT_HOLDER});
  ASSERT_TRUE(holder.waitForLine("registered")) << "the old one is free";
  open.windows.click("push button", "Super+J");
  open.windows.waitFor("push button", "Type New Shortcut");
  open.program.key("shift+j");
  open.windows.waitFor("label", "Shift+J would be taken from every other program.");
  open.program.key(RunningProgram::kShortcut);
  open.windows.waitFor("label", "The key combination Super+Shift+Space cannot be used");
  EXPECT_TRUE(open.windows.shows("label",
                                 "This combination cannot be used because it is already used by a system-wide keyboard "
                                 "shortcut.\nIf you really want to use this key combination, most shortcuts can be "
                                 "changed in the Keyboard & Mouse panel in System Preferences."));
  open.windows.click("push button", "OK");
  open.windows.waitFor("push button", "Super+J");
  EXPECT_TRUE(open.windows.waitUntilGone("push button", "OK"));

  open.program.key("Escape");
  ASSERT_TRUE(open.program.waitUntilClosed());
  open.program.key("super+j");
  EXPECT_TRUE(open.program.waitUntilOpen());
  open.program.key("Escape");
  ASSERT_TRUE(open.program.waitUntilClosed());
  // Another program changes it.
  open.windows.changeSetting("ActivationShortcut", {{"KeyCode", 65643}, {"ModifierFlags", 0x100000}});
  EXPECT_TRUE(waitUntil([&] {
    open.program.key("super+k");
    return open.program.waitUntilOpen(Milliseconds(200));
  }));
  open.program.key("Escape");
  ASSERT_TRUE(open.program.waitUntilClosed());
  holder.kill(SIGTERM);
  holder.wait();
  EXPECT_EQ(open.session().run({JUMPLARK_PROGRAM, "preferences"}).status, 0);
  open.windows.click("push button", "Use Super+Shift+Space");
  EXPECT_TRUE(open.windows.waitForSetting("ActivationShortcut", {{"KeyCode", 49}, {"ModifierFlags", 0x120000}}));
}

TEST(PreferencesWindow, switchesFollowTheirSettingsAndTheReverse) {
  Preferences open;
  open.windows.click("check box", "Stay open after a click");
  EXPECT_TRUE(open.windows.waitForSetting("ModalModeEnabled", true));
  const char* const icon = "Show the icon in the panel";
  open.windows.click("check box", icon);
  EXPECT_TRUE(open.windows.waitForSetting("ShowMenuBarIcon", false));
  EXPECT_TRUE(open.checked(icon, false));
  open.windows.changeSetting("ShowMenuBarIcon", true);
  EXPECT_TRUE(open.checked(icon));

  open.session().run({"setxkbmap", "us,de"});
  open.windows.click("check box", "Advanced");
  open.windows.waitFor("combo box", "The one in use");
  open.windows.click("label", "Keyboard layout for queries:");
  open.session().keys({"key", "Tab"});
  for (int steps = 0; steps < 6 && !open.windows.waitForState("combo box", "The one in use", "focused"); ++steps) {
    open.session().keys({"key", "Tab"});
  }
  open.session().keys({"key", "End"});
  open.windows.waitFor("combo box", "German");
  EXPECT_TRUE(open.windows.waitForSetting("ForceKeyboardLayout", "de"));
  open.windows.changeSetting("ForceKeyboardLayout", "us");
  open.windows.waitFor("combo box", "English");
}

TEST(PreferencesWindow, entersTheProgramOnceIntoWhatStartsAtLogin) {
  Preferences open;
  const char* const login = "Start Jumplark at login";
  const fs::path folder = fs::path(open.session().environment().at("XDG_CONFIG_HOME")) / "autostart";
  const auto read = [&](const char* name) {
    std::ifstream file(folder / name);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  const auto count = [&] {
    std::error_code none;
    return fs::exists(folder) ? std::distance(fs::directory_iterator(folder, none), {}) : 0;
  };
  for (int times = 0; times < 2; ++times) {
    open.windows.click("check box", login);
    EXPECT_TRUE(open.checked(login));
    EXPECT_EQ(count(), 1);
    EXPECT_THAT(read("jumplark.desktop"),
                AllOf(HasSubstr("Exec=\"" JUMPLARK_PROGRAM "\""), HasSubstr("Type=Application")));
    if (times == 0) {
      open.windows.click("check box", login);
      EXPECT_TRUE(open.checked(login, false));
      EXPECT_EQ(count(), 0);
    }
  }
  // Another program switches it off, and somebody puts a file of that name there.
  fs::remove(folder / "jumplark.desktop");
  EXPECT_TRUE(open.checked(login, false));
  const std::string foreign = "[Desktop Entry]\nType=Application\nExec=backup --now\n";
  std::ofstream(folder / "jumplark.desktop") << foreign;
  open.windows.click("check box", login);
  EXPECT_TRUE(open.checked(login));
  EXPECT_EQ(count(), 2);
  open.windows.click("check box", login);
  EXPECT_TRUE(open.checked(login, false));
  EXPECT_EQ(count(), 1);
  EXPECT_EQ(read("jumplark.desktop"), foreign);
}

TEST(PreferencesWindow, usageMovesWhileItIsOpen) {
  Preferences open({{"UsageMetrics", {{"2001-02-03", {{"elementsActioned", 1500}}}}}}, "Usage");
  open.windows.waitFor("label", "1\u202F500");
  // Over another application an activation would close the window; over the window itself it stays.
  open.session().keys({"key", RunningProgram::kShortcut});
  open.windows.waitFor("text", "What to click");
  open.program.type("usage");
  EXPECT_TRUE(open.program.waitForQuery("usage"));
  open.program.key("Return");
  open.windows.waitFor("label", "1\u202F501");
  EXPECT_TRUE(waitUntil([&] { return open.windows.settings().value("UsageMetrics", json::object()).size() == 2; }));
}

}  // namespace
}  // namespace jumplark::desktop
