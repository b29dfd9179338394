#include <csignal>
#include <filesystem>
#include <fstream>

#include "desktop/Use.h"

namespace jumplark::desktop {
namespace {

/// The process that the compositor's socket is named after.
pid_t swayOf(const PrivateSession& session) {
  const std::string socket = session.environment().at("SWAYSOCK");
  const size_t end = socket.rfind('.');
  return std::stoi(socket.substr(socket.rfind('.', end - 1) + 1));
}

/// Processes that outlive a program to let go of what it held.
std::vector<std::string> guardsOf(pid_t program) {
  std::vector<std::string> guards;
  for (const auto& process : std::filesystem::directory_iterator("/proc")) {
    std::string id;
    std::string name;
    std::string state;
    pid_t parent = 0;
    std::ifstream(process.path() / "stat") >> id >> name >> state >> parent;
    if (parent == program && name == "(jumplark-guard)") {
      guards.push_back(process.path());
    }
  }
  return guards;
}

bool isRunning(const std::string& process) {
  std::error_code error;
  return !std::filesystem::read_symlink(process + "/exe", error).empty();  // one that has ended has none
}

/// What the user is left with: a window of the demonstration program whose field "Name" takes what is typed.
class NeverStuckOnSway : public ::testing::Test {
 protected:
  NeverStuckOnSway() { focusField(); }

  void focusField() {
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
    desktop.session.type(text.substr(text.size() - 1));
    return demo.says("text Name " + text);
  }
  void expectThatItWorks(RunningProgram& program) {
    program.open();
    program.query("apply");
    program.close("Return");
    EXPECT_TRUE(demo.says("clicked Apply"));
  }

  Desktop desktop{SessionOptions{.windowManager = WindowManager::sway,
                                 .width = Desktop::kWidth,
                                 .height = Desktop::kHeight,
                                 .monitors = {{Desktop::kWidth, 0, Desktop::kWidth, Desktop::kHeight}}}};
  DemoProgram demo{desktop};
  std::string text;
};

TEST_F(NeverStuckOnSway, anEndedProgramLeavesKeyboardAndShortcutToOthers) {
  for (const int signal : {SIGKILL, SIGTERM, SIGSEGV}) {
    SCOPED_TRACE(signal);
    RunningProgram program(desktop.session);
    program.open();
    const auto guards = guardsOf(program.pid());
    EXPECT_FALSE(guards.empty());
    program.process().kill(signal);
    const auto status = program.process().wait();
    EXPECT_TRUE(status);
#ifndef __SANITIZE_ADDRESS__  // which catches the one signal, and finds after the other what Qt leaves of Wayland
    EXPECT_EQ(status, signal == SIGTERM ? 0 : 128 + signal);
#endif
    EXPECT_TRUE(takesTyping()) << demo.process().out();
    EXPECT_TRUE(waitUntil([&] { return std::ranges::none_of(guards, isRunning); }));
    const Finished unbound = desktop.session.run({"swaymsg", "unbindsym", "Mod4+Shift+space"});
    EXPECT_NE(unbound.status, 0) << "the shortcut was still bound";
  }
}

TEST_F(NeverStuckOnSway, endsWhileReturnWouldMakeADoubleClick) {
  RunningProgram program(desktop.session);
  expectThatItWorks(program);
  program.process().kill(SIGTERM);
  const auto status = program.process().wait();
#ifndef __SANITIZE_ADDRESS__  // which finds what Qt leaves of Wayland
  EXPECT_EQ(status, 0);
#endif
  EXPECT_TRUE(status && desktop.session.run({"swaymsg", "unbindsym", "Return"}).status != 0) << "it was still bound";
}

TEST_F(NeverStuckOnSway, aKilledProgramLeavesNoButtonDown) {
  const PixelRect apply = place("Button", "Apply");
  Process& presses = desktop.session.start(
      {JUMPLARK_PRESS_AND_WAIT, std::to_string(apply.x + apply.width / 2), std::to_string(apply.y + apply.height / 2)});
  ASSERT_TRUE(presses.waitForLine("down")) << presses.err();
  EXPECT_EQ(demo.process().countOfLine("clicked Apply"), 0U);
  presses.kill(SIGKILL);
  EXPECT_TRUE(demo.says("clicked Apply"));
}

TEST_F(NeverStuckOnSway, goesOnAfterACompositorThatHung) {
  RunningProgram program(desktop.session);
  program.open();
  const pid_t sway = swayOf(desktop.session);
  ASSERT_EQ(kill(sway, SIGSTOP), 0);
  // Closes the query window, as far as that can be without the compositor.
  const Finished told = desktop.session.run({JUMPLARK_PROGRAM, "activate"});
  EXPECT_EQ(kill(sway, SIGCONT), 0);
  EXPECT_TRUE(told.status.has_value());
  EXPECT_TRUE(program.waitUntilClosed());
  EXPECT_TRUE(takesTyping());
  expectThatItWorks(program);
}

TEST_F(NeverStuckOnSway, goesOnWhenTheScreenThatItIsOnIsTakenAway) {
  RunningProgram program(desktop.session);
  program.open();
  EXPECT_EQ(desktop.session.run({"swaymsg", "output", "HEADLESS-1", "disable"}).status, 0);
  // A letter that comes while the window moves to the screen that is left goes to the target.
  constexpr Milliseconds kBetweenLetters{2000};
  EXPECT_TRUE(waitUntil([&] {
    program.type("a");
    return waitUntil(
        [&] {
          const auto field = program.windows().find("text", "What to click");
          return field && !field->text.empty();
        },
        kBetweenLetters);
  }));
  program.close();
  expectThatItWorks(program);
  EXPECT_EQ(desktop.session.run({"swaymsg", "output", "HEADLESS-1", "enable"}).status, 0);
}

TEST(OnSway, endsWithItsCompositor) {
  Desktop desktop(WindowManager::sway);
  PrivateSession& session = desktop.session;
  Process& demo = session.start({JUMPLARK_DEMO_QT6, "Form"});
  session.waitForWindowOf(demo.pid());
  RunningProgram program(session);
  program.open();
  ASSERT_EQ(kill(swayOf(session), SIGKILL), 0);
  const auto status = program.process().wait();
  ASSERT_TRUE(status) << "still running";
  EXPECT_LT(*status, 128) << program.process().err();
  EXPECT_TRUE(std::filesystem::is_empty(session.environment().at("XDG_STATE_HOME") + "/jumplark/crashes"));
}

}  // namespace
}  // namespace jumplark::desktop
