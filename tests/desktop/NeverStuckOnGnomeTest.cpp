#include <csignal>

#include "desktop/Use.h"
#include "desktop/support/GnomeSession.h"

namespace jumplark::desktop {
namespace {

/// What the user is left with: a window of the demonstration program whose field "Name" takes what is typed.
class NeverStuckOnGnome : public ::testing::Test {
 protected:
  NeverStuckOnGnome() {
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
    EXPECT_TRUE(waitUntil([&] { return demo.isActive(); }));
    session.type(text.substr(text.size() - 1));
    return demo.says("text Name " + text);
  }
  bool isShortcutFree() {
    return waitUntil([&] { return session.isFree("<Super><Shift>space"); });
  }
  void expectThatItWorks(RunningProgram& program) {
    const size_t before = demo.process().countOfLine("clicked Apply");
    program.open();
    program.query("apply");
    EXPECT_TRUE(waitUntil([&] { return program.description().starts_with("Apply"); }));
    program.close("Return");
    EXPECT_TRUE(waitUntil([&] { return demo.process().countOfLine("clicked Apply") > before; }));
  }

  Desktop desktop{WindowManager::gnome};
  GnomeSession& session = dynamic_cast<GnomeSession&>(desktop.session);
  DemoProgram demo{desktop};
  std::string text;
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
  const PixelRect apply = place("Button", "Apply");
  Process& presses = session.start(
      {JUMPLARK_PRESS_AND_WAIT, std::to_string(apply.x + apply.width / 2), std::to_string(apply.y + apply.height / 2)});
  ASSERT_TRUE(presses.waitForLine("down")) << presses.err();
  EXPECT_EQ(demo.process().countOfLine("clicked Apply"), 0U);
  presses.kill(SIGKILL);
  EXPECT_TRUE(demo.says("clicked Apply"));
}

TEST_F(NeverStuckOnGnome, worksAgainWhenTheExtensionWasSwitchedOffAndOn) {
  RunningProgram program(session);
  program.open();
  session.setExtension(false);
  program.close("Escape");
  EXPECT_TRUE(isShortcutFree());
  EXPECT_TRUE(takesTyping());
  session.setExtension(true);
  EXPECT_TRUE(waitUntil([&] { return !session.isFree("<Super><Shift>space"); }));
  expectThatItWorks(program);
}

TEST_F(NeverStuckOnGnome, goesOnAfterAShellThatHung) {
  RunningProgram program(session);
  program.open();
  const pid_t shell = session.shell();
  ASSERT_EQ(kill(shell, SIGSTOP), 0);
  // Closes the query window, as far as that can be without the shell.
  const Finished told = session.run({JUMPLARK_PROGRAM, "activate"});
  EXPECT_EQ(kill(shell, SIGCONT), 0);
  EXPECT_TRUE(told.status.has_value());
  EXPECT_TRUE(program.waitUntilClosed());
  EXPECT_TRUE(takesTyping());
  expectThatItWorks(program);
}

TEST_F(NeverStuckOnGnome, theExtensionAnswersNoOtherProgram) {
  const std::string name = "com.brindlefox.jumplark.Shell";
  const PixelRect apply = place("Button", "Apply");
  const std::vector<Arguments> questions = {
      {"Hello"},
      {"Windows"},
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
