#include <csignal>

#include "desktop/NeverStuckOnWayland.h"
#include "desktop/support/KWinSession.h"

namespace jumplark::desktop {
namespace {

std::string askKWin(const PrivateSession& session, const std::string& member, pid_t program) {
  return session
      .run({"gdbus", "call", "--session", "-d", "org.kde.KWin", "-o", "/Scripting", "-m",
            "org.kde.kwin.Scripting." + member, "jumplark-" + std::to_string(program)})
      .out;
}
bool hasScript(const PrivateSession& session, pid_t program) {
  return askKWin(session, "isScriptLoaded", program) == "(true,)\n";
}
bool holdsShortcut(const PrivateSession& session) {
  return session
             .run({"gdbus", "call", "--session", "-d", "org.kde.kglobalaccel", "-o", "/component/jumplark", "-m",
                   "org.kde.kglobalaccel.Component.isActive"})
             .out == "(true,)\n";
}

class NeverStuckOnKWin : public NeverStuckOnWayland {
 protected:
  NeverStuckOnKWin()
      : NeverStuckOnWayland(
            {.windowManager = WindowManager::kwin, .width = Desktop::kWidth, .height = Desktop::kHeight}) {}

  std::string askKWin(const std::string& member, pid_t program) const {
    return desktop::askKWin(session, member, program);
  }
  bool hasScript(pid_t program) const { return desktop::hasScript(session, program); }
  bool holdsShortcut() const { return desktop::holdsShortcut(session); }

  KWinSession& session = dynamic_cast<KWinSession&>(desktop.session);
};

TEST_F(NeverStuckOnKWin, anEndedProgramLeavesKeyboardShortcutAndKWinToOthers) {
  for (const int signal : {SIGKILL, SIGTERM, SIGSEGV}) {
    SCOPED_TRACE(signal);
    RunningProgram program(session);
    program.open();
    const pid_t pid = program.pid();
    EXPECT_TRUE(holdsShortcut());
    EXPECT_TRUE(hasScript(pid));
    program.process().kill(signal);
    EXPECT_TRUE(program.process().wait());
    EXPECT_TRUE(takesTyping()) << demo.process().out();
    EXPECT_TRUE(waitUntil([&] { return !holdsShortcut(); }));
    EXPECT_TRUE(waitUntil([&] { return !hasScript(pid); }));
  }
}

TEST_F(NeverStuckOnKWin, theLayoutThatIsForcedWhileTheQueryIsOpenIsTheUsersAgainInWhateverWayThatEnds) {
  testing::writeFile(session.environment().at("XDG_CONFIG_HOME") + "/kxkbrc", "[Layout]\nLayoutList=us,de\nUse=true\n");
  session.run({"gdbus", "emit", "--session", "-o", "/Layouts", "-s", "org.kde.keyboard.reloadConfig"});
  // Newer ones watch the file's own word instead.
  session.run({"gdbus", "emit", "--session", "-o", "/kxkbrc", "-s", "org.kde.kconfig.notify.ConfigChanged",
               "{'Layout': [b'LayoutList', b'Use']}"});
  const auto askLayouts = [&](const std::string& member, const std::string& argument = "") {
    Arguments question = {"gdbus",
                          "call",
                          "--session",
                          "-d",
                          "org.kde.keyboard",
                          "-o",
                          "/Layouts",
                          "-m",
                          "org.kde.KeyboardLayouts." + member};
    question.resize(question.size() + (argument.empty() ? 0 : 1), argument);
    return session.run(question).out;
  };
  const auto isLayout = [&](int place) {
    return waitUntil([&] { return askLayouts("getLayout") == "(uint32 " + std::to_string(place) + ",)\n"; });
  };
  for (const int signal : {0, SIGKILL, SIGTERM}) {
    SCOPED_TRACE(signal);
    ASSERT_TRUE(waitUntil([&] { return askLayouts("setLayout", "1") == "(true,)\n"; }));
    RunningProgram program(session, {{"ForceKeyboardLayout", "us"}});
    program.open();
    EXPECT_TRUE(isLayout(0));
    signal != 0 ? program.process().kill(signal) : program.close("Escape");
    EXPECT_TRUE(isLayout(1));
  }
}

TEST_F(NeverStuckOnKWin, aKilledProgramLeavesNoButtonDown) {
  expectNoButtonDownAfterAKilledProgram();
}

TEST_F(NeverStuckOnKWin, goesOnAfterAKWinThatHungAndAfterItsScriptWasEnded) {
  RunningProgram program(session);
  program.open();
  expectThatItGoesOnAfterHanging(session.kwin(), program);

  EXPECT_EQ(askKWin("unloadScript", program.pid()), "(true,)\n");
  program.open();
  EXPECT_TRUE(waitUntil([&] { return hasScript(program.pid()); }));
  program.close();
  expectThatItWorks(program);
}

TEST(OnKWin, comesBackWithACompositorThatDoes) {
  Desktop desktop(WindowManager::kwin);
  auto& session = dynamic_cast<KWinSession&>(desktop.session);
  session.putKeeperInPlace();
  RunningProgram program(session);
  kill(session.kwin(), SIGKILL);
  session.awaitReturn();
  const auto runsAnew = [&] { return program.process().linesBeginning("Jumplark is running. Press").size() == 2; };
  EXPECT_TRUE(waitUntil(runsAnew, KWinSession::kStart)) << program.process().err();
  DemoProgram demo(desktop);
  expectThatItWorks(program, demo);
}

TEST(OnKWin, endsWithItsCompositor) {
  Desktop desktop(WindowManager::kwin);
  expectTheEndAfter(desktop.session, dynamic_cast<KWinSession&>(desktop.session).kwin());
}

}  // namespace
}  // namespace jumplark::desktop
