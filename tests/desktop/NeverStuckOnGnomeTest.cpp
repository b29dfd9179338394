#include <csignal>

#include "desktop/NeverStuckOnWayland.h"
#include "desktop/support/GnomeSession.h"

namespace jumplark::desktop {
namespace {

class NeverStuckOnGnome : public NeverStuckOnWayland {
 protected:
  NeverStuckOnGnome()
      : NeverStuckOnWayland(
            {.windowManager = WindowManager::gnome, .width = Desktop::kWidth, .height = Desktop::kHeight}) {}

  bool isShortcutFree() {
    return waitUntil([&] { return session.isFree("<Super><Shift>space"); });
  }

  GnomeSession& session = dynamic_cast<GnomeSession&>(desktop.session);
};

TEST_F(NeverStuckOnGnome, anEndedProgramLeavesKeyboardAndShortcutToOthers) {
  for (const int signal : {SIGKILL, SIGTERM, SIGSEGV}) {
    SCOPED_TRACE(signal);
    RunningProgram program(session);
    program.open();
    program.query("apply");
    EXPECT_FALSE(session.isFree("<Super><Shift>space"));
    program.process().kill(signal);
    EXPECT_TRUE(program.process().wait());
    EXPECT_TRUE(waitUntil(
        [&] { return !session.hasWindow([&](const SessionWindow& window) { return window.pid == program.pid(); }); }));
    EXPECT_TRUE(takesTyping()) << demo.process().out();
    EXPECT_TRUE(isShortcutFree());
  }
}

TEST_F(NeverStuckOnGnome, aKilledProgramLeavesNoButtonDown) {
  expectNoButtonDownAfterAKilledProgram();
}

TEST_F(NeverStuckOnGnome, theQueryGivesWayToAltTabAndTheOverviewAndIsInNeither) {
  const SessionWindow first = session.waitForWindowOf(demo.process().pid());
  const SessionWindow second = session.waitForWindowOf(session.start({JUMPLARK_DEMO_QT6, "Table"}).pid());
  ASSERT_TRUE(session.activate(second.id));
  ASSERT_TRUE(session.activate(first.id));
  RunningProgram program(session);
  for (const char* const keys : {"alt+Tab", "super"}) {
    SCOPED_TRACE(keys);
    program.open();
    session.press({keys});
    EXPECT_TRUE(program.waitUntilClosed());
    EXPECT_TRUE(waitUntil([&] { return session.activeWindow() == second.id; }));
  }
}

TEST_F(NeverStuckOnGnome, isGoneWhileTheExtensionIsOffAndWorksAgainAfterwards) {
  RunningProgram program(session);
  program.open();
  session.setExtension(false);
  EXPECT_TRUE(program.waitUntilClosed());
  EXPECT_TRUE(isShortcutFree());
  // As it is while the screen is locked.
  Process& shield = session.start({"gjs", "-c", R"(const {Gio, GLib} = imports.gi;
    Gio.DBusExportedObject.wrapJSObject(`<node><interface name="org.gnome.ScreenSaver"><method name="GetActive">
        <arg type="b" direction="out"/></method></interface></node>`, {GetActive: () => true})
        .export(Gio.DBus.session, '/org/gnome/ScreenSaver');
    Gio.bus_own_name(2, 'org.gnome.Shell.ScreenShield', 0, null, () => print('there'), null);
    new GLib.MainLoop(null, false).run();)"});
  ASSERT_TRUE(shield.waitForLine("there")) << shield.err();
  const Finished told = session.run({JUMPLARK_PROGRAM, "activate"});
  EXPECT_EQ(told.status, 3);
  EXPECT_EQ(told.err, "jumplark: The screen is locked.\n");
  EXPECT_EQ(program.queryWindow(), std::nullopt);
  EXPECT_TRUE(takesTyping());
  session.setExtension(true);
  EXPECT_TRUE(waitUntil([&] { return !session.isFree("<Super><Shift>space"); }));
  expectThatItWorks(program);
}

TEST_F(NeverStuckOnGnome, goesOnAfterAShellThatHung) {
  RunningProgram program(session);
  program.open();
  expectThatItGoesOnAfterHanging(session.shell(), program);
  expectThatItWorks(program);
}

TEST_F(NeverStuckOnGnome, theExtensionAnswersNoOtherProgram) {
  const std::string name = "com.brindlefox.jumplark.Shell";
  const PixelRect apply = place("Button", "Apply");
  const std::vector<Arguments> questions = {
      {"Hello"},
      {"Scene"},
      {"Button", std::to_string(apply.x + 9), std::to_string(apply.y + 9), "1", "true"},
      {"Bind", "<Super>F9"},
      {"Type", "97"}};
  for (const Arguments& question : questions) {
    Arguments command = {"gdbus", "call", "--session", "-d", name, "-o", "/com/brindlefox/jumplark/Shell", "-m"};
    command.push_back(name + "." + question.front());
    command.insert(command.end(), question.begin() + 1, question.end());
    const Finished answer = session.run(command);
    EXPECT_NE(answer.status, 0) << answer.out;
    EXPECT_NE(answer.err.find(name + ".Refused"), std::string::npos) << answer.err;
  }
  EXPECT_TRUE(session.isFree("<Super>F9"));
  EXPECT_TRUE(takesTyping());
  EXPECT_TRUE(demo.linesBeginning("pressed").size() == 1) << demo.process().out();
}

}  // namespace
}  // namespace jumplark::desktop
