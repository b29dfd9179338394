#pragma once

#include <csignal>
#include <filesystem>

#include "desktop/Use.h"

namespace jumplark::desktop {

/// The shortcut, a query and Return press a button of the demonstration program.
inline void expectThatItWorks(RunningProgram& program, DemoProgram& demo) {
  const size_t before = demo.process().countOfLine("clicked Apply");
  program.open();
  program.query("apply");
  EXPECT_TRUE(waitUntil([&] { return program.description().starts_with("Apply"); }));
  program.close("Return");
  EXPECT_TRUE(waitUntil([&] { return demo.process().countOfLine("clicked Apply") > before; }))
      << demo.process().out() << program.process().err();
}

/// What the user is left with: a window of the demonstration program whose field "Name" takes what is typed.
class NeverStuckOnWayland : public ::testing::Test {
 protected:
  explicit NeverStuckOnWayland(const SessionOptions& options) : desktop(options) {
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
    text_ += static_cast<char>('a' + text_.size() % 26);
    EXPECT_TRUE(waitUntil([&] { return demo.isActive(); }));
    desktop.session.type(text_.substr(text_.size() - 1));
    return demo.says("text Name " + text_);
  }
  void expectThatItWorks(RunningProgram& program) { desktop::expectThatItWorks(program, demo); }
  void expectNoButtonDownAfterAKilledProgram() {
    const PixelRect apply = place("Button", "Apply");
    Process& presses = desktop.session.start({JUMPLARK_PRESS_AND_WAIT, std::to_string(apply.x + apply.width / 2),
                                              std::to_string(apply.y + apply.height / 2)});
    ASSERT_TRUE(presses.waitForLine("down")) << presses.err();
    EXPECT_EQ(demo.process().countOfLine("clicked Apply"), 0U);
    presses.kill(SIGKILL);
    EXPECT_TRUE(demo.says("clicked Apply"));
  }
  /// The query window is open, and is closed as far as that can be without the compositor.
  void expectThatItGoesOnAfterHanging(pid_t compositor, RunningProgram& program) {
    ASSERT_EQ(kill(compositor, SIGSTOP), 0);
    const Finished told = desktop.session.run({JUMPLARK_PROGRAM, "activate"});
    EXPECT_EQ(kill(compositor, SIGCONT), 0);
    EXPECT_TRUE(told.status.has_value());
    EXPECT_TRUE(program.waitUntilClosed());
    EXPECT_TRUE(takesTyping());
  }

  Desktop desktop;
  DemoProgram demo{desktop};

 private:
  std::string text_;
};

/// The program ends in good order when its compositor is gone.
inline void expectTheEndAfter(PrivateSession& session, pid_t compositor) {
  Process& demo = session.start({JUMPLARK_DEMO_QT6, "Form"});
  session.waitForWindowOf(demo.pid());
  RunningProgram program(session);
  program.open();
  ASSERT_EQ(kill(compositor, SIGKILL), 0);
  const auto status = program.process().wait();
  ASSERT_TRUE(status) << "still running";
  constexpr int kFirstSignal = 128;
  constexpr int kQtsOwn = 255;  // of Qt 6.8, which ends the program as soon as it notices
  EXPECT_TRUE(*status < kFirstSignal || *status == kQtsOwn) << *status << program.process().err();
  EXPECT_TRUE(std::filesystem::is_empty(session.environment().at("XDG_STATE_HOME") + "/jumplark/crashes"));
}

}  // namespace jumplark::desktop
