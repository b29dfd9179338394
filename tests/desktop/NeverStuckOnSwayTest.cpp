#include <csignal>
#include <filesystem>
#include <fstream>

#include "desktop/NeverStuckOnWayland.h"

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

class NeverStuckOnSway : public NeverStuckOnWayland {
 protected:
  NeverStuckOnSway()
      : NeverStuckOnWayland({.windowManager = WindowManager::sway,
                             .width = Desktop::kWidth,
                             .height = Desktop::kHeight,
                             .monitors = {{Desktop::kWidth, 0, Desktop::kWidth, Desktop::kHeight}}}) {}
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
  expectNoButtonDownAfterAKilledProgram();
}

TEST_F(NeverStuckOnSway, goesOnAfterACompositorThatHung) {
  RunningProgram program(desktop.session);
  program.open();
  expectThatItGoesOnAfterHanging(swayOf(desktop.session), program);
  expectThatItWorks(program);
}

TEST_F(NeverStuckOnSway, goesOnWhenTheScreenThatItIsOnIsTakenAway) {
  RunningProgram program(desktop.session);
  program.open();
  EXPECT_EQ(desktop.session.run({"swaymsg", "output", "HEADLESS-1", "disable"}).status, 0);
  // A letter that comes while the window moves to the screen that is left goes to the target. With later versions of
  // sway the screen has gone by then, and the window with it.
  constexpr Milliseconds kBetweenLetters{2000};
  EXPECT_TRUE(waitUntil([&] {
    program.type("a");
    return waitUntil(
        [&] {
          const auto field = program.windows().find("text", "What to click");
          return (field && !field->text.empty()) || !program.windows().shows("text", "What to click");
        },
        kBetweenLetters);
  }));
  program.close();
  expectThatItWorks(program);
  EXPECT_EQ(desktop.session.run({"swaymsg", "output", "HEADLESS-1", "enable"}).status, 0);
}

TEST(OnSway, endsWithItsCompositor) {
  Desktop desktop(WindowManager::sway);
  expectTheEndAfter(desktop.session, swayOf(desktop.session));
}

}  // namespace
}  // namespace jumplark::desktop
