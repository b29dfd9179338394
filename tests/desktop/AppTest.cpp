#include <sys/stat.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>

#include "desktop/DesktopTest.h"
#include "desktop/support/AppWindows.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::desktop {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr const char* kReady = "Jumplark is running.";

bool waitUntilReady(Process& program) {
  return waitUntil([&] { return program.out().find(kReady) != std::string::npos; });
}

int modeOf(const fs::path& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? static_cast<int>(status.st_mode & 07777U) : -1;
}

/// Programs that show what is opened. Without a known desktop pages go to the first of these.
const std::vector<std::string> kOpeners = {"xdg-open", "xfce4-accessibility-settings"};

TEST(App, greetsAtTheFirstStartKeepsItsSettingsPrivateAndEndsWhenAsked) {
  PrivateSession session;
  AppWindows windows(session);
  const FakePrograms fakes(session, kOpeners);
  Process& first = session.start({JUMPLARK_PROGRAM}, fakes.environment());
  windows.waitFor("label", "Welcome to Jumplark!");
  EXPECT_TRUE(windows.shows("label",
                            "It looks like this is the first time you've launched Jumplark!\nWe strongly suggest you "
                            "read the README to get the most out of Jumplark."));
  EXPECT_TRUE(windows.shows("push button", "No, thanks."));
  EXPECT_EQ(first.out().find(kReady), std::string::npos);
  // A shortcut is not for its buttons: the last key of this one would press the one that has the keyboard.
  session.keys({"key", RunningProgram::kShortcut, "Tab", RunningProgram::kShortcut, "shift+Tab"});
  EXPECT_TRUE(windows.waitForState("push button", "Open README in browser", "focused"));
  windows.click("push button", "Open README in browser");
  EXPECT_TRUE(waitUntilReady(first)) << first.err();
  EXPECT_TRUE(waitUntil([&] { return fakes.callOf("xdg-open").has_value(); }));
  EXPECT_THAT(fakes.callOf("xdg-open").value_or(""), HasSubstr("/guide/index.html"));
  EXPECT_TRUE(windows.waitForSetting("shownHelpOnStart", true));
  EXPECT_TRUE(windows.waitForSetting("ActivationShortcut", {{"KeyCode", 49}, {"ModifierFlags", 0x120000}}));
  first.kill(SIGTERM);
  EXPECT_EQ(first.wait(), 0) << first.err();
  EXPECT_EQ(modeOf(windows.settingsFile()), 0600);
  EXPECT_EQ(modeOf(windows.settingsFile().parent_path()), 0700);
  EXPECT_EQ(windows.settings().value("UUID", ""), "") << "a build without a collector has no use for one";
  EXPECT_FALSE(fs::exists(session.environment().at("XDG_DATA_HOME") + "/jumplark/Metrics.dat"));

  Process& second = session.start({JUMPLARK_PROGRAM});
  EXPECT_TRUE(waitUntilReady(second)) << second.err();
  EXPECT_FALSE(windows.shows("label", "Welcome to Jumplark!"));
}

TEST(App, saysWhereTheGuideIsWhereNothingShowsIt) {
  PrivateSession session;
  AppWindows windows(session);
  const fs::path folder = session.folder() + "/alone";
  const auto setOpener = [&folder](const std::string& script) {
    const fs::path path = folder / "xdg-open";
    std::ofstream(path.string() + ".new") << "#!/bin/sh\n" << script << '\n';
    fs::permissions(path.string() + ".new", fs::perms::owner_all);
    fs::rename(path.string() + ".new", path);
  };
  const auto guideOfMessage = [&windows] {
    const std::string text = windows.waitFor("label", "No program on this desktop shows it.").name;
    windows.click("push button", "OK");
    EXPECT_TRUE(windows.waitUntilGone("push button", "OK"));
    return text.substr(text.find('/'));
  };
  fs::create_directories(folder);
  Process& program = session.start({JUMPLARK_PROGRAM}, {{"PATH", folder.string()}});
  windows.click("push button", "Open README in browser");
  const std::string guide = guideOfMessage();
  EXPECT_TRUE(fs::is_regular_file(guide)) << guide;
  EXPECT_TRUE(waitUntilReady(program));

  setOpener("exit 3");
  EXPECT_EQ(session.run({JUMPLARK_PROGRAM, "preferences", "Help"}).status, 0);
  windows.click("push button", "Open documentation");
  EXPECT_EQ(guideOfMessage(), guide);

  const fs::path opened = folder / "opened";
  setOpener("echo \"$*\" >'" + opened.string() + "'");
  windows.click("push button", "Open documentation");
  EXPECT_TRUE(waitUntil([&] {
    std::ifstream file(opened);
    std::string line;
    return std::getline(file, line) && line == guide;
  }));
  EXPECT_FALSE(windows.shows("label", "No program on this desktop shows it."));
}

class StartedAgain : public testing::TestWithParam<WindowManager> {};

TEST_P(StartedAgain, itOpensThePreferencesWithOneMessageThatHasTheKeyboard) {
  Desktop desktop(GetParam());
  AppWindows windows(desktop.session);
  const DemoProgram demo(desktop.session);
  RunningProgram program(desktop.session, {{"ShowMenuBarIcon", false}});
  program.open();
  const Finished again = desktop.session.run({JUMPLARK_PROGRAM});
  EXPECT_EQ(again.status, 0);
  EXPECT_THAT(again.out, HasSubstr("Jumplark is already running!"));
  windows.waitFor("label", "Jumplark is already running!");
  EXPECT_TRUE(windows.shows("label",
                            "We've opened up the preferences for you in case you forgot the activation "
                            "shortcut.\n\nYou can always access the preferences by activating Jumplark, then hitting "
                            "Command+,\n\nThe activation shortcut is Super+Shift+Space, and the Command key is Super "
                            "here."));
  EXPECT_TRUE(waitUntil([&] { return !windows.find("text", "What to click"); })) << "the query window is still there";

  const auto isInFront = [&](const std::string& title) {
    const auto window = desktop.session.findWindow([&](const auto& each) { return each.title == title; });
    return window && desktop.session.activeWindow() == window->id;
  };
  const auto click = [&](const PixelRect& rect) {
    desktop.session.keys(
        {"mousemove", std::to_string(rect.x + rect.width / 2), std::to_string(rect.y + 4), "click", "1"});
  };
  for (const char* key : {"Return", "Escape"}) {
    SCOPED_TRACE(key);
    // Twice more, beside and after each other, and a click on what lies below.
    Process& beside = desktop.session.start({JUMPLARK_PROGRAM});
    EXPECT_EQ(desktop.session.run({JUMPLARK_PROGRAM}).status, 0);
    EXPECT_EQ(beside.wait(), 0);
    EXPECT_TRUE(waitUntil([&] { return isInFront("Jumplark"); }));
    click(windows.waitFor("check box", "About").rect);
    EXPECT_TRUE(waitUntil([&] { return isInFront("Jumplark"); }));
    desktop.session.keys({"key", key});
    EXPECT_TRUE(windows.waitUntilGone("label", "Jumplark is already running!"));
    EXPECT_TRUE(waitUntil([&] { return isInFront("Jumplark Preferences"); }));
    EXPECT_TRUE(windows.shows("check box", "General"));
  }
  program.key("Escape");
  EXPECT_TRUE(program.waitUntilClosed());
  EXPECT_EQ(desktop.session.run({JUMPLARK_PROGRAM, "activate"}).status, 0);
  EXPECT_TRUE(program.waitUntilOpen());
  program.key("Escape");
  program.waitUntilClosed();
}

INSTANTIATE_TEST_SUITE_P(On, StartedAgain, testing::Values(WindowManager::xfwm4, WindowManager::openbox),
                         [](const auto& info) { return info.param == WindowManager::xfwm4 ? "xfwm4" : "openbox"; });

TEST(App, withoutTheAccessibilityBusItOpensWhatHelpsAndEnds) {
  const struct {
    const char* keys;
    std::optional<std::string> called;
    const char* with;
  } cases[] = {{"Return", "xfce4-accessibility-settings", ""},
               {"Tab", "xdg-open", "/guide/index.html"},
               {"Tab Tab", std::nullopt, ""}};
  for (const bool sessionBus : {true, false}) {
    PrivateSession session({.windowManager = WindowManager::openbox, .accessibility = false, .sessionBus = sessionBus});
    for (const auto& example : cases) {
      SCOPED_TRACE(example.keys);
      const FakePrograms fakes(session, kOpeners);
      for (const std::string& program : kOpeners) {
        fs::remove(fs::path(session.folder()) / "programs" / (program + ".called"));
      }
      Process& program = session.start({JUMPLARK_PROGRAM}, fakes.environment());
      const SessionWindow window = session.waitForWindowOf(program.pid());
      ASSERT_TRUE(session.activate(window.id));
      Arguments keys = {"key"};
      std::istringstream words(example.keys);
      for (std::string word; words >> word;) {
        keys.push_back(word);
      }
      if (keys.back() == "Tab") {
        keys.push_back("Return");
      }
      session.keys(keys);
      EXPECT_EQ(program.wait(), 3) << program.err();
      EXPECT_THAT(program.err(), HasSubstr("bus"));
      if (example.called) {
        EXPECT_TRUE(waitUntil([&] { return fakes.callOf(*example.called).has_value(); }));
        EXPECT_THAT(fakes.callOf(*example.called).value_or(""), HasSubstr(example.with));
      }
      for (const std::string& other : kOpeners) {
        EXPECT_TRUE(other == example.called || !fakes.callOf(other)) << other;
      }
    }
    EXPECT_FALSE(fs::exists(AppWindows(session).settingsFile())) << "nothing was started";
  }
}

TEST(App, aBrokenSettingsFileIsSetAsideAndTheDefaultsHold) {
  for (const char* broken : {"{\"ShowMenuBarIcon\": tr", "[1, 2]"}) {
    SCOPED_TRACE(broken);
    PrivateSession session;
    AppWindows windows(session);
    const DemoProgram demo(session);
    windows.writeSettings(broken);
    Process& program = session.start({JUMPLARK_PROGRAM});
    windows.waitFor("label", "There is a problem with Jumplark's settings");
    const std::string aside = windows.settingsFile().string() + ".broken-1";
    EXPECT_THAT(windows.waitFor("label", "The settings in ").name, HasSubstr(aside));
    std::ifstream file(aside);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), broken);
    windows.click("push button", "OK");
    windows.click("push button", "No, thanks.");
    EXPECT_TRUE(waitUntilReady(program));
    session.keys({"key", RunningProgram::kShortcut});
    windows.waitFor("text", "What to click");
  }
}

TEST(App, worksInAHomeThatCannotBeWrittenAndSaysSo) {
  PrivateSession session;
  AppWindows windows(session);
  const DemoProgram demo(session);
  const std::string nowhere = session.folder() + "/nowhere";
  std::ofstream(nowhere) << "a file where folders should be";
  Process& program = session.start({JUMPLARK_PROGRAM}, {{"XDG_CONFIG_HOME", nowhere + "/config"},
                                                        {"XDG_DATA_HOME", nowhere + "/data"},
                                                        {"XDG_STATE_HOME", nowhere + "/state"}});
  windows.waitFor("label", "There is a problem with Jumplark's settings");
  windows.click("push button", "OK");
  windows.click("push button", "No, thanks.");
  EXPECT_TRUE(waitUntilReady(program)) << program.err();
  session.keys({"key", RunningProgram::kShortcut});
  windows.waitFor("text", "What to click");
  session.keys({"key", "Escape"});
  EXPECT_EQ(session.run({JUMPLARK_PROGRAM, "preferences"}).status, 0);
  windows.click("check box", "Start Jumplark at login");
  EXPECT_TRUE(windows.waitForState("check box", "Start Jumplark at login", "checked", false));
  windows.waitFor("label",
                  nowhere + "/config/autostart/jumplark.desktop cannot be changed: a part of the path is no folder.");
  program.kill(SIGTERM);
  EXPECT_EQ(program.wait(), 0);
}

TEST(App, offersAFreeShortcutWhereItsOwnIsTaken) {
  PrivateSession session;
  AppWindows windows(session);
  const DemoProgram demo(session);
  Process& holder = session.start({JUMPLARK_SHORTCUT_HOLDER});
  ASSERT_TRUE(holder.waitForLine("registered"));
  RunningProgram program(session);
  EXPECT_THAT(program.process().out(), HasSubstr("jumplark activate"));
  windows.waitFor("label", "The key combination Super+Shift+Space cannot be used");
  // The message is nothing to search in, even with the keyboard.
  ASSERT_TRUE(session.activate(program.queryWindow().value_or(SessionWindow()).id));
  EXPECT_EQ(session.run({JUMPLARK_PROGRAM, "activate"}).status, 0);
  windows.waitFor("text", "What to click");
  program.type("reload");
  EXPECT_TRUE(waitUntil([&] { return !program.overlayWindows().empty(); }));
  program.key("Escape");
  EXPECT_TRUE(windows.waitUntilGone("text", "What to click"));
  // It has given way meanwhile, and comes back without the keyboard.
  windows.waitFor("push button", "Use Control+Alt+Space");
  ASSERT_TRUE(session.activate(program.queryWindow().value_or(SessionWindow()).id));
  windows.click("push button", "Use Control+Alt+Space");
  EXPECT_TRUE(windows.waitForSetting("ActivationShortcut", {{"KeyCode", 49}, {"ModifierFlags", 0xC0000}}));
  EXPECT_TRUE(windows.waitUntilGone("push button", "Use Control+Alt+Space"));
  session.keys({"key", "ctrl+alt+space"});
  EXPECT_TRUE(program.waitUntilOpen());
}

}  // namespace
}  // namespace jumplark::desktop
