#include <sys/ptrace.h>
#include <sys/wait.h>

#include <csignal>

#include "desktop/Use.h"

namespace jumplark::desktop {
namespace {

using ::testing::IsEmpty;

/// Stops one thread of a program, as an endless loop in it would, while the others go on.
class StoppedThread {
 public:
  explicit StoppedThread(pid_t thread) : thread_(thread) {
    if (ptrace(PTRACE_SEIZE, thread_, nullptr, nullptr) != 0 ||
        ptrace(PTRACE_INTERRUPT, thread_, nullptr, nullptr) != 0 || waitpid(thread_, nullptr, __WALL) != thread_) {
      throw std::runtime_error("the thread cannot be stopped");
    }
  }
  StoppedThread(const StoppedThread&) = delete;
  StoppedThread& operator=(const StoppedThread&) = delete;
  ~StoppedThread() { ptrace(PTRACE_DETACH, thread_, nullptr, nullptr); }

 private:
  pid_t thread_;
};

/// What the user is left with: a window of the demonstration program whose field "Name" takes what is typed.
class NeverStuck : public ::testing::Test {
 protected:
  NeverStuck() { focusField(); }

  /// Two clicks in a row fall on two places, where the text does not reach, so that they never are a double click,
  /// which would select the text.
  void focusField() {
    place = place == 9 ? 39 : 9;
    desktop.session.click(field.x + field.width - place, field.y + 9);
    EXPECT_TRUE(demo.says("focused Name"));
  }
  /// A letter typed now arrives, and nothing but the letters of former calls is in front of it.
  bool takesTyping() {
    text += static_cast<char>('a' + text.size() % 26);
    desktop.session.type(text.substr(text.size() - 1));
    return demo.says("text Name " + text);
  }
  void expectNothingHeld() {
    EXPECT_TRUE(waitUntil([this] { return desktop.session.heldInput().empty(); })) << desktop.session.heldInput();
    EXPECT_TRUE(waitUntil([this] { return desktop.session.keyboardIsFree(); })) << "the keyboard is held";
  }
  void expectNothingStuck() {
    expectNothingHeld();
    EXPECT_TRUE(waitUntil([this] { return demo.isActive(); })) << "the focus is not where it was";
    EXPECT_TRUE(takesTyping()) << demo.process().out();
  }
  void expectThatItWorks(RunningProgram& program) {
    program.open();
    program.query("apply");
    program.close("Return");
    EXPECT_TRUE(demo.says("clicked Apply"));
  }

  Desktop desktop;
  DemoProgram demo{desktop};
  PixelRect field = demo.part("Name").rect;
  int place = 9;
  std::string text;
};

/// Something that a program comes to do, which lasts or is over from then on.
struct Phase {
  const char* name;
  std::function<bool()> isReached;
  int signal = SIGKILL;  ///< that the program gets then
};

/// So old is a press that is not answered any more.
constexpr std::chrono::seconds kForgotten{1};

TEST_F(NeverStuck, lettersGoToTheTargetWhileTheMainThreadHangs) {
  RunningProgram program(desktop.session);
  {
    const StoppedThread hung(program.pid());
    program.key(RunningProgram::kShortcut);
    EXPECT_TRUE(takesTyping()) << demo.process().out();
    expectNothingHeld();
    const auto letGo = std::chrono::steady_clock::now();
    EXPECT_TRUE(waitUntil([&] { return std::chrono::steady_clock::now() - letGo > kForgotten; }));
  }
  // What was pressed in vain opens nothing over what the user does now.
  expectNothingStuck();
  expectThatItWorks(program);
}

TEST_F(NeverStuck, anEndedProgramLeavesNothingHeldInAnyPhaseOfOpening) {
  std::unique_ptr<RunningProgram> program;
  std::unique_ptr<StoppedThread> hung;
  const Phase phases[] = {{"at once", [] { return true; }},
                          {"with the keyboard frozen", [&] { return hung != nullptr; }},
                          {"with the window on the screen", [&] { return program->queryWindow().has_value(); }},
                          {"with the keyboard", [&] { return program->isOpen(); }},
                          {"asked to end", [&] { return program->isOpen(); }, SIGTERM}};
  for (const Phase& phase : phases) {
    SCOPED_TRACE(phase.name);
    program = std::make_unique<RunningProgram>(desktop.session);
    // Nobody answers the shortcut, so that keys wait.
    hung = &phase == &phases[1] ? std::make_unique<StoppedThread>(program->pid()) : nullptr;
    program->key(RunningProgram::kShortcut);
    EXPECT_TRUE(waitUntil(phase.isReached));
    program->process().kill(phase.signal);
    hung.reset();
    EXPECT_EQ(program->process().wait(), phase.signal == SIGTERM ? 0 : 128 + phase.signal);
    expectNothingStuck();
  }
}

TEST_F(NeverStuck, aKilledProgramLeavesNothingHeldInAnyPhaseOfAClick) {
  const auto clicks = [&] { return demo.linesBeginning("clicked ").size(); };
  size_t before = 0;
  std::unique_ptr<RunningProgram> program;
  const Phase phases[] = {
      {"at once", [] { return true; }},
      {"with the window gone", [&] { return !program->queryWindow(); }},
      {"with the target in front again", [&] { return demo.isActive(); }},
      {"with the button down", [&] { return !desktop.session.heldInput().empty() || clicks() > before; }},
      {"after the click", [&] { return clicks() > before; }}};
  for (const Phase& phase : phases) {
    SCOPED_TRACE(phase.name);
    before = clicks();
    program = std::make_unique<RunningProgram>(desktop.session);
    program->open();
    program->query("apply");
    program->key("Return");
    EXPECT_TRUE(waitUntil(phase.isReached));
    program->process().kill(SIGKILL);
    expectNothingHeld();
    EXPECT_TRUE(waitUntil([&] { return demo.isActive(); }));
    focusField();
    expectNothingStuck();
  }
}

TEST_F(NeverStuck, escapeNeedsNoAnswerOfATargetThatHangs) {
  RunningProgram program(desktop.session);
  demo.process().stop();
  for (int i = 0; i < 4; ++i) {
    program.open();
    program.type("apply");
    if (i == 3) {
      program.key("Return");  // waits for matches; the next key calls it off
    }
    program.close();
  }
  demo.process().resume();
  expectNothingStuck();
  EXPECT_THAT(demo.linesBeginning("clicked "), IsEmpty());
  expectThatItWorks(program);
}

TEST_F(NeverStuck, outlivesItsTarget) {
  RunningProgram program(desktop.session);
  for (const char* key : {"Escape", "Return"}) {
    DemoProgram target(desktop);
    program.open();
    program.query("apply");
    target.process().kill(SIGKILL);
    program.key(key);
    program.close();
    expectNothingHeld();
  }
  expectThatItWorks(program);
}

TEST_F(NeverStuck, worksOnUnderANewWindowManager) {
  RunningProgram program(desktop.session);
  program.open();
  desktop.session.start({"openbox", "--replace"});
  // Some give the focus to the query window again, some to nothing, which ends the activation.
  EXPECT_TRUE(waitUntil([&] {
    program.key("Escape");
    return program.waitUntilClosed(Milliseconds(500));
  }));
  EXPECT_TRUE(waitUntil([&] {
    focusField();
    return demo.isActive();
  }));
  expectNothingStuck();
  expectThatItWorks(program);
}

TEST_F(NeverStuck, endsWithItsDisplay) {
  Process& server =
      desktop.session.start({"Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp"});
  ASSERT_TRUE(waitUntil([&] { return server.out().find('\n') != std::string::npos; })) << server.err();
  const std::string display = ":" + server.out().substr(0, server.out().find('\n'));
  RunningProgram program(desktop.session, {}, {{"DISPLAY", display}});
  server.kill(SIGKILL);
  EXPECT_TRUE(program.process().wait()) << "still running";
  EXPECT_THAT(program.process().err(), ::testing::HasSubstr("X11"));
}

}  // namespace
}  // namespace jumplark::desktop
