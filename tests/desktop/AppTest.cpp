#include <csignal>

#include "desktop/support/Desktop.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::desktop {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(App, greetsAtTheFirstStartAndEndsWhenAsked) {
  PrivateSession session;
  AppWindows windows(session);
  const FakePrograms fakes(session);
  fakes.put("xdg-open");
  Process& first = session.start({JUMPLARK_PROGRAM}, fakes.environment());
  windows.waitFor("label", "Welcome to Jumplark!");
  EXPECT_TRUE(first.linesBeginning("Jumplark is running.").empty());
  // A shortcut is not for its buttons: the last key of this one would press the one that has the keyboard.
  session.press({RunningProgram::kShortcut, "Tab", RunningProgram::kShortcut, "shift+Tab"});
  EXPECT_TRUE(windows.waitForState("push button", "Open README in browser", "focused"));
  windows.click("push button", "Open README in browser");
  EXPECT_TRUE(waitUntilReady(first)) << first.err();
  EXPECT_TRUE(fakes.waitForCall("xdg-open", "/guide/index.html"));
  EXPECT_TRUE(windows.waitForSetting("ActivationShortcut", {{"KeyCode", 49}, {"ModifierFlags", 0x120000}}));
  first.kill(SIGTERM);
  EXPECT_EQ(first.wait(), 0) << first.err();
}

TEST(App, saysWhereTheGuideIsWhereNothingShowsIt) {
  PrivateSession session;
  RunningProgram program(session, {}, FakePrograms(session).environment(false));
  AppWindows& windows = program.windows();
  EXPECT_EQ(session.run({JUMPLARK_PROGRAM, "preferences", "Help"}).status, 0);
  const FakePrograms fakes(session);
  // Without any program that opens pages, and with one that fails.
  for (const bool fails : {false, true}) {
    if (fails) {
      fakes.put("xdg-open", "exit 3");
    }
    windows.click("push button", "Open documentation");
    const std::string said = windows.waitFor("label", "No program on this desktop shows it.").name;
    EXPECT_TRUE(fs::is_regular_file(said.substr(said.find('/')))) << said;
    windows.click("push button", "OK");
    EXPECT_TRUE(windows.waitUntilGone("push button", "OK"));
  }
  fakes.put("xdg-open");
  windows.click("push button", "Open documentation");
  EXPECT_TRUE(fakes.waitForCall("xdg-open", "/guide/index.html"));
}

class StartedAgain : public ::testing::TestWithParam<WindowManager> {};

TEST_P(StartedAgain, itOpensThePreferencesWithOneMessageThatHasTheKeyboard) {
  Desktop desktop(GetParam());
  PrivateSession& session = desktop.session;
  const DemoProgram demo(desktop);
  RunningProgram program(session, {{"ShowMenuBarIcon", false}});
  AppWindows& windows = program.windows();
  const auto isInFront = [&](const std::string& title) {
    return waitUntil([&] {
      return session.hasWindow(
          [&](const auto& window) { return window.title == title && window.id == session.activeWindow(); });
    });
  };
  program.open();
  const Finished again = session.run({JUMPLARK_PROGRAM});
  EXPECT_EQ(again.status, 0);
  EXPECT_THAT(again.out, HasSubstr("Jumplark is already running!"));
  windows.waitFor("label", "Jumplark is already running!");
  EXPECT_TRUE(windows.waitUntilGone("text", "What to click"));
  for (const char* key : {"Return", "Escape"}) {
    SCOPED_TRACE(key);
    // Twice more, beside and after each other, and a click on what lies below.
    Process& beside = session.start({JUMPLARK_PROGRAM});
    EXPECT_EQ(session.run({JUMPLARK_PROGRAM}).status, 0);
    EXPECT_EQ(beside.wait(), 0);
    EXPECT_TRUE(isInFront("Jumplark"));
    session.click(windows.waitFor("check box", "About").rect);
    EXPECT_TRUE(isInFront("Jumplark"));
    session.press({key});
    EXPECT_TRUE(windows.waitUntilGone("label", "Jumplark is already running!"));
    EXPECT_TRUE(isInFront("Jumplark Preferences"));
    EXPECT_TRUE(windows.shows("check box", "General"));
  }
  program.close();
  EXPECT_EQ(session.run({JUMPLARK_PROGRAM, "activate"}).status, 0);
  EXPECT_TRUE(program.waitUntilOpen());
}

INSTANTIATE_TEST_SUITE_P(On, StartedAgain, ::testing::Values(WindowManager::xfwm4, WindowManager::openbox),
                         [](const auto& info) { return info.param == WindowManager::xfwm4 ? "xfwm4" : "openbox"; });

TEST(App, withoutTheAccessibilityBusItOpensWhatHelpsAndEnds) {
  const std::tuple<bool, Arguments, const char*, const char*> cases[] = {
      {true, {"Return"}, "xfce4-accessibility-settings", ""},
      {false, {"Tab", "Return"}, "xdg-open", "/guide/index.html"}};
  for (const auto& [sessionBus, keys, called, with] : cases) {
    SCOPED_TRACE(called);
    PrivateSession session({.windowManager = WindowManager::openbox, .accessibility = false, .sessionBus = sessionBus});
    const FakePrograms fakes(session);
    fakes.put("xdg-open");
    fakes.put("xfce4-accessibility-settings");
    Process& program = session.start({JUMPLARK_PROGRAM}, fakes.environment());
    ASSERT_TRUE(session.activate(session.waitForWindowOf(program.pid()).id));
    session.press(keys);
    EXPECT_EQ(program.wait(), 3) << program.err();
    EXPECT_THAT(program.err(), HasSubstr("bus"));
    EXPECT_TRUE(fakes.waitForCall(called, with));
    EXPECT_FALSE(fs::exists(AppWindows(session).settingsFile())) << "nothing was started";
  }
}

TEST(App, worksInAHomeThatCannotBeWrittenAndSaysSo) {
  Desktop desktop;
  PrivateSession& session = desktop.session;
  const DemoProgram demo(desktop);
  const std::string nowhere = session.folder() + "/nowhere";
  testing::writeFile(nowhere, "a file where folders should be");
  Process& program = session.start({JUMPLARK_PROGRAM}, {{"XDG_CONFIG_HOME", nowhere + "/config"},
                                                        {"XDG_DATA_HOME", nowhere + "/data"},
                                                        {"XDG_STATE_HOME", nowhere + "/state"}});
  AppWindows windows(session);
  windows.waitFor("label", "There is a problem with Jumplark's settings");
  EXPECT_THAT(windows.waitFor("label", "The settings ").name, HasSubstr(nowhere));
  windows.click("push button", "OK");
  windows.click("push button", "No, thanks.");
  EXPECT_TRUE(waitUntilReady(program)) << program.err();
  session.press({RunningProgram::kShortcut});
  windows.waitFor("text", "What to click");
  session.press({"Escape"});
  EXPECT_EQ(session.run({JUMPLARK_PROGRAM, "preferences"}).status, 0);
  windows.click("check box", "Start Jumplark at login");
  windows.waitFor("label",
                  nowhere + "/config/autostart/jumplark.desktop cannot be changed: a part of the path is no folder.");
  EXPECT_TRUE(windows.waitForState("check box", "Start Jumplark at login", "checked", false));
  program.kill(SIGTERM);
  EXPECT_EQ(program.wait(), 0);
}

TEST(CrashReport, isShownOnceAtTheNextStartAndHoldsNothingOfTheUsers) {
  Desktop desktop;
  PrivateSession& session = desktop.session;
  AppWindows windows(session);
  const DemoProgram demo(desktop);
  {
    RunningProgram program(session, {}, {{"ASAN_OPTIONS", "handle_segv=0:detect_leaks=0"}});
    program.open();
    program.query("plantedquery");
    program.process().kill(SIGSEGV);
    EXPECT_EQ(program.process().wait(), 128 + SIGSEGV);
    EXPECT_TRUE(program.waitUntilClosed());
  }
  const fs::path home = session.environment().at("HOME");
  std::string raw;
  for (const auto& entry : fs::directory_iterator(home / ".local/state/jumplark/crashes")) {
    raw += testing::readFile(entry.path());
  }
  EXPECT_THAT(raw, AllOf(HasSubstr("Program: Jumplark "), HasSubstr("X server: "), HasSubstr("End\n"),
                         Not(HasSubstr("planted")), Not(HasSubstr("demo"))));

  ASSERT_TRUE(session.activate(session.waitForWindowTitled("Demo").id));
  Process& next = session.start({JUMPLARK_PROGRAM});
  windows.waitFor("label", "Jumplark ended unexpectedly the last time.");
  const std::string shown = windows.waitFor("text", "Crash report").text;
  EXPECT_FALSE(windows.shows("push button", "Send")) << "this build has no address";
  windows.click("push button", "Copy");
  windows.waitFor("label", "Copied.");
  windows.click("push button", "Save…");
  windows.waitFor("push button", "Save");
  session.press({"Return"});
  windows.waitFor("label", "Saved.");
  const fs::path saved = home / "jumplark-crash.txt";
  EXPECT_THAT(shown, StartsWith("Program: Jumplark "));
  EXPECT_THAT(testing::readFile(saved),
              AllOf(StartsWith(shown), HasSubstr("Signal: SIGSEGV (11)"), HasSubstr("QtMainLoop::run"),
                    HasSubstr("Qt 6."), Not(HasSubstr(session.folder()))));
  EXPECT_EQ(fs::status(saved).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_THAT(next.out(), Not(HasSubstr("is running"))) << "the report comes first";
  windows.click("push button", "Close");
  EXPECT_TRUE(waitUntilReady(next)) << next.err();
  next.kill(SIGTERM);
  EXPECT_EQ(next.wait(), 0);
  const RunningProgram third(session);
  EXPECT_FALSE(windows.shows("label", "Jumplark ended unexpectedly the last time."));
}

}  // namespace
}  // namespace jumplark::desktop
