#include <csignal>
#include <filesystem>

#include "desktop/Use.h"
#include "desktop/support/KWinSession.h"

namespace jumplark::desktop {
namespace {

/// The session's KWin, by the name of its own file.
pid_t kwinOf(const PrivateSession& session) {
  for (const auto& process : std::filesystem::directory_iterator("/proc")) {
    std::error_code error;
    if (std::filesystem::read_symlink(process.path() / "exe", error) == session.folder() + "/kwin_wayland") {
      return std::stoi(process.path().filename());
    }
  }
  return -1;
}

/// What the user is left with: a window of the demonstration program whose field "Name" takes what is typed.
class NeverStuckOnKWin : public ::testing::Test {
 protected:
  NeverStuckOnKWin() {
    desktop.session.click(place("TextField", "Name:"));
    EXPECT_TRUE(demo.says("focused Name"));
  }

  PixelRect place(const std::string& role, const std::string& text) {
    const Matches matches = demo.matchesWith(role, text);
    const Match* match = find(matches, role, text);
    return match ? match->rect : PixelRect{};
  }
  /// A letter typed now arrives, and nothing but the letters of former calls is in front of it.
  bool takesTyping() {
    text += static_cast<char>('a' + text.size() % 26);
    session.type(text.substr(text.size() - 1));
    return demo.says("text Name " + text);
  }
  std::string askKWin(const std::string& member, pid_t program) const {
    return session
        .run({"gdbus", "call", "--session", "-d", "org.kde.KWin", "-o", "/Scripting", "-m",
              "org.kde.kwin.Scripting." + member, "jumplark-" + std::to_string(program)})
        .out;
  }
  bool hasScript(pid_t program) const { return askKWin("isScriptLoaded", program) == "(true,)\n"; }
  bool holdsShortcut() const {
    return session
               .run({"gdbus", "call", "--session", "-d", "org.kde.kglobalaccel", "-o", "/component/jumplark", "-m",
                     "org.kde.kglobalaccel.Component.isActive"})
               .out == "(true,)\n";
  }

  Desktop desktop{WindowManager::kwin};
  KWinSession& session = dynamic_cast<KWinSession&>(desktop.session);
  DemoProgram demo{desktop};
  std::string text;
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

TEST_F(NeverStuckOnKWin, aKilledProgramLeavesNoButtonDown) {
  const PixelRect apply = place("Button", "Apply");
  Process& presses = session.start(
      {JUMPLARK_PRESS_AND_WAIT, std::to_string(apply.x + apply.width / 2), std::to_string(apply.y + apply.height / 2)});
  ASSERT_TRUE(presses.waitForLine("down")) << presses.err();
  EXPECT_EQ(demo.process().countOfLine("clicked Apply"), 0U);
  presses.kill(SIGKILL);
  EXPECT_TRUE(demo.says("clicked Apply"));
}

TEST_F(NeverStuckOnKWin, goesOnAfterAKWinThatHungAndAfterItsScriptWasEnded) {
  RunningProgram program(session);
  program.open();
  ASSERT_EQ(kill(kwinOf(session), SIGSTOP), 0);
  // Closes the query window, as far as that can be without the compositor.
  const Finished told = session.run({JUMPLARK_PROGRAM, "activate"});
  EXPECT_EQ(kill(kwinOf(session), SIGCONT), 0);
  EXPECT_TRUE(told.status.has_value());
  EXPECT_TRUE(program.waitUntilClosed());
  EXPECT_TRUE(takesTyping());

  EXPECT_EQ(askKWin("unloadScript", program.pid()), "(true,)\n");
  program.open();
  EXPECT_TRUE(waitUntil([&] { return hasScript(program.pid()); }));
  program.query("apply");
  EXPECT_TRUE(waitUntil([&] { return program.description().starts_with("Apply"); }));
  program.close("Return");
  EXPECT_TRUE(demo.says("clicked Apply"));
}

TEST(OnKWin, endsWithItsCompositor) {
  Desktop desktop(WindowManager::kwin);
  PrivateSession& session = desktop.session;
  Process& demo = session.start({JUMPLARK_DEMO_QT6, "Form"});
  session.waitForWindowOf(demo.pid());
  RunningProgram program(session);
  program.open();
  ASSERT_EQ(kill(kwinOf(session), SIGKILL), 0);
  const auto status = program.process().wait();
  ASSERT_TRUE(status) << "still running";
  EXPECT_LT(*status, 128) << program.process().err();
  EXPECT_TRUE(std::filesystem::is_empty(session.environment().at("XDG_STATE_HOME") + "/jumplark/crashes"));
}

}  // namespace
}  // namespace jumplark::desktop
