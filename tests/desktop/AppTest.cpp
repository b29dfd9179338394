#include <csignal>

#include "desktop/DesktopTest.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::desktop {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

bool comesToBeCalled(const FakePrograms& fakes, const std::string& name, const std::string& with) {
  std::string calls;
  return waitUntil([&] { return (calls += fakes.takeCallOf(name).value_or("")).find(with) != std::string::npos; });
}

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
  EXPECT_TRUE(comesToBeCalled(fakes, "xdg-open", "/guide/index.html"));
  EXPECT_TRUE(windows.waitForSetting("ActivationShortcut", {{"KeyCode", 49}, {"ModifierFlags", 0x120000}}));
  first.kill(SIGTERM);
  EXPECT_EQ(first.wait(), 0) << first.err();

  Process& second = session.start({JUMPLARK_PROGRAM});
  EXPECT_TRUE(waitUntilReady(second)) << second.err();
  EXPECT_FALSE(windows.shows("label", "Welcome to Jumplark!"));
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
  EXPECT_TRUE(comesToBeCalled(fakes, "xdg-open", "/guide/index.html"));
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
  const struct {
    bool sessionBus;
    Arguments keys;
    const char* called;
    const char* with;
  } cases[] = {{true, {"Return"}, "xfce4-accessibility-settings", ""},
               {false, {"Tab", "Return"}, "xdg-open", "/guide/index.html"}};
  for (const auto& example : cases) {
    SCOPED_TRACE(example.called);
    PrivateSession session(
        {.windowManager = WindowManager::openbox, .accessibility = false, .sessionBus = example.sessionBus});
    const FakePrograms fakes(session);
    fakes.put("xdg-open");
    fakes.put("xfce4-accessibility-settings");
    Process& program = session.start({JUMPLARK_PROGRAM}, fakes.environment());
    ASSERT_TRUE(session.activate(session.waitForWindowOf(program.pid()).id));
    session.press(example.keys);
    EXPECT_EQ(program.wait(), 3) << program.err();
    EXPECT_THAT(program.err(), HasSubstr("bus"));
    EXPECT_TRUE(comesToBeCalled(fakes, example.called, example.with));
    EXPECT_FALSE(fs::exists(AppWindows(session).settingsFile())) << "nothing was started";
  }
}

/// The first start, which there is something to say of before the greeting.
void expectToSayAndToWork(PrivateSession& session, Process& program, const std::string& part) {
  AppWindows windows(session);
  windows.waitFor("label", "There is a problem with Jumplark's settings");
  EXPECT_THAT(windows.waitFor("label", "The settings ").name, HasSubstr(part));
  windows.click("push button", "OK");
  windows.click("push button", "No, thanks.");
  EXPECT_TRUE(waitUntilReady(program)) << program.err();
  session.press({RunningProgram::kShortcut});
  windows.waitFor("text", "What to click");
  session.press({"Escape"});
}

TEST(App, aBrokenSettingsFileIsSetAsideAndTheDefaultsHold) {
  Desktop desktop;
  const DemoProgram demo(desktop);
  const fs::path file = AppWindows(desktop.session).settingsFile();
  const std::string broken = "{\"ShowMenuBarIcon\": tr";
  testing::writeFile(file, broken);
  expectToSayAndToWork(desktop.session, desktop.session.start({JUMPLARK_PROGRAM}), file.string() + ".broken-1");
  EXPECT_EQ(testing::readFile(file.string() + ".broken-1"), broken);
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
  expectToSayAndToWork(session, program, nowhere);
  EXPECT_EQ(session.run({JUMPLARK_PROGRAM, "preferences"}).status, 0);
  AppWindows windows(session);
  windows.click("check box", "Start Jumplark at login");
  windows.waitFor("label",
                  nowhere + "/config/autostart/jumplark.desktop cannot be changed: a part of the path is no folder.");
  EXPECT_TRUE(windows.waitForState("check box", "Start Jumplark at login", "checked", false));
  program.kill(SIGTERM);
  EXPECT_EQ(program.wait(), 0);
}

}  // namespace
}  // namespace jumplark::desktop
