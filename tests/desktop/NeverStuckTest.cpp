#include <sys/ptrace.h>
#include <sys/wait.h>

#include <array>
#include <chrono>
#include <csignal>
#include <functional>
#include <memory>

#include "desktop/Use.h"

namespace jumplark::desktop {
namespace {

using testing::IsEmpty;

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
class Victim {
 public:
  explicit Victim(PrivateSession& session) : session_(session), demo_(session) {
    for (const DemoPart& part : demo_.parts()) {
      if (part.name == "Name") {
        field_ = part.rect;
      }
    }
    focusField();
  }

  /// Two clicks in a row fall on two places, so that they never are a double click, which would select the text.
  void focusField() {
    place_ = place_ == kPlaces.front() ? kPlaces.back() : kPlaces.front();
    session_.keys(
        {"mousemove", std::to_string(field_.x + field_.width - place_), std::to_string(field_.y + 9), "click", "1"});
    demo_.process().waitForLine("focused Name");
  }
  bool isActive() {
    const auto window = session_.findWindow([this](const SessionWindow& candidate) {
      return candidate.pid == demo_.process().pid() && !candidate.overrideRedirect;
    });
    return window && session_.activeWindow() == window->id;
  }
  /// A letter typed now arrives, and nothing but the letters of former calls is in front of it.
  bool takesTyping() {
    text_ += static_cast<char>('a' + text_.size() % 26);
    session_.keys({"type", text_.substr(text_.size() - 1)});
    return demo_.process().waitForLine("text Name " + text_);
  }
  void expectNothingStuck() {
    EXPECT_TRUE(waitUntil([this] { return session_.keyboardIsFree(); })) << "the keyboard is held";
    EXPECT_TRUE(waitUntil([this] { return session_.heldInput().empty(); })) << session_.heldInput();
    EXPECT_TRUE(waitUntil([this] { return isActive(); })) << "the focus is not where it was";
    EXPECT_TRUE(takesTyping()) << demo_.process().out();
  }
  DemoProgram& demo() { return demo_; }

 private:
  PrivateSession& session_;
  DemoProgram demo_;
  /// Pixels from the right end of the field, where the text does not reach.
  static constexpr std::array kPlaces{9, 39};
  PixelRect field_;
  int place_ = kPlaces.back();
  std::string text_;
};

/// Something that a program comes to do, which lasts or is over from then on.
struct Phase {
  const char* name;
  std::function<bool()> isReached;
};

/// So old is a press that is not answered any more.
constexpr std::chrono::seconds kForgotten{1};

TEST(NeverStuck, lettersGoToTheTargetWhileTheMainThreadHangs) {
  Desktop desktop;
  Victim victim(desktop.session);
  RunningProgram program(desktop.session);
  {
    const StoppedThread hung(program.pid());
    program.key(RunningProgram::kShortcut);
    EXPECT_TRUE(victim.takesTyping()) << victim.demo().process().out();
    EXPECT_TRUE(desktop.session.keyboardIsFree());
    EXPECT_THAT(desktop.session.heldInput(), IsEmpty());
    const auto letGo = std::chrono::steady_clock::now();
    EXPECT_TRUE(waitUntil([&] { return std::chrono::steady_clock::now() - letGo > kForgotten; }));
  }
  // What was pressed in vain opens nothing over what the user does now.
  victim.expectNothingStuck();
  program.open();
  program.key("Escape");
  EXPECT_TRUE(program.waitUntilClosed());
}

TEST(NeverStuck, aKilledProgramLeavesNothingHeldInAnyPhaseOfOpening) {
  Desktop desktop;
  Victim victim(desktop.session);
  std::unique_ptr<RunningProgram> program;
  std::unique_ptr<StoppedThread> hung;
  const Phase phases[] = {{"at once", [] { return true; }},
                          {"with the keyboard frozen", [&] { return hung != nullptr; }},
                          {"with the window on the screen", [&] { return program->queryWindow().has_value(); }},
                          {"with the keyboard", [&] { return program->isOpen(); }}};
  for (const Phase& phase : phases) {
    SCOPED_TRACE(phase.name);
    program = std::make_unique<RunningProgram>(desktop.session);
    // Nobody answers the shortcut, so that keys wait.
    hung = &phase == &phases[1] ? std::make_unique<StoppedThread>(program->pid()) : nullptr;
    program->key(RunningProgram::kShortcut);
    EXPECT_TRUE(waitUntil(phase.isReached));
    program->process().kill(SIGKILL);
    hung.reset();
    victim.expectNothingStuck();
  }
}

TEST(NeverStuck, aKilledProgramLeavesNothingHeldInAnyPhaseOfAClick) {
  Desktop desktop;
  Victim victim(desktop.session);
  const auto clicks = [&] { return victim.demo().linesBeginning("clicked ").size(); };
  size_t clicksBefore = 0;
  const auto isHeld = [&] { return !desktop.session.heldInput().empty() || clicks() > clicksBefore; };
  std::unique_ptr<RunningProgram> program;
  const Phase phases[] = {{"at once", [] { return true; }},
                          {"with the window gone", [&] { return !program->queryWindow(); }},
                          {"with the target in front again", [&] { return victim.isActive(); }},
                          {"with the button down", isHeld},
                          {"after the click", [&] { return clicks() > clicksBefore; }}};
  for (const Phase& phase : phases) {
    SCOPED_TRACE(phase.name);
    clicksBefore = clicks();
    program = std::make_unique<RunningProgram>(desktop.session);
    program->open();
    program->type("apply");
    program->waitForQuery("apply");
    program->key("Return");
    EXPECT_TRUE(waitUntil(phase.isReached));
    program->process().kill(SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return desktop.session.heldInput().empty(); })) << desktop.session.heldInput();
    EXPECT_TRUE(waitUntil([&] { return victim.isActive(); }));
    victim.focusField();
    victim.expectNothingStuck();
  }
}

TEST(NeverStuck, endsOnATerminationSignalWithEverythingGivenBack) {
  Desktop desktop;
  Victim victim(desktop.session);
  RunningProgram program(desktop.session);
  program.open();
  program.type("app");
  program.process().kill(SIGTERM);
  EXPECT_EQ(program.process().wait(), 0) << program.process().err();
  victim.expectNothingStuck();
}

TEST(NeverStuck, escapeNeedsNoAnswerOfATargetThatHangs) {
  Desktop desktop;
  Victim victim(desktop.session);
  RunningProgram program(desktop.session);
  victim.demo().process().stop();
  for (int i = 0; i < 3; ++i) {
    program.open();
    program.type("apply");
    program.key("Escape");
    EXPECT_TRUE(program.waitUntilClosed());
  }
  program.open();
  program.type("apply");
  program.key("Return");  // waits for matches; the next key calls it off
  program.key("Escape");
  EXPECT_TRUE(program.waitUntilClosed());
  victim.demo().process().resume();
  victim.expectNothingStuck();
  EXPECT_THAT(victim.demo().linesBeginning("clicked "), IsEmpty());
  program.open();
  program.type("apply");
  program.waitForQuery("apply");
  program.key("Return");
  EXPECT_TRUE(victim.demo().process().waitForLine("clicked Apply"));
}

TEST(NeverStuck, outlivesItsTarget) {
  Desktop desktop;
  RunningProgram program(desktop.session);
  for (const char* key : {"Escape", "Return"}) {
    DemoProgram target(desktop.session);
    program.open();
    program.type("apply");
    program.waitForQuery("apply");
    target.process().kill(SIGKILL);
    program.key(key);
    program.key("Escape");
    EXPECT_TRUE(program.waitUntilClosed()) << key;
    EXPECT_THAT(desktop.session.heldInput(), IsEmpty());
  }
  Victim victim(desktop.session);
  program.open();
  program.key("Escape");
  EXPECT_TRUE(program.waitUntilClosed());
  victim.expectNothingStuck();
}

TEST(NeverStuck, worksOnUnderANewWindowManager) {
  Desktop desktop;
  Victim victim(desktop.session);
  RunningProgram program(desktop.session);
  program.open();
  desktop.session.start({"openbox", "--replace"});
  // Some give the focus to the query window again, some to nothing, which ends the activation.
  EXPECT_TRUE(waitUntil([&] {
    program.key("Escape");
    return program.waitUntilClosed(Milliseconds(500));
  }));
  EXPECT_TRUE(waitUntil([&] {
    victim.focusField();
    return victim.isActive();
  }));
  victim.expectNothingStuck();
  program.open();
  program.type("apply");
  EXPECT_TRUE(program.waitForQuery("apply"));
  program.key("Return");
  EXPECT_TRUE(victim.demo().process().waitForLine("clicked Apply"));
}

TEST(NeverStuck, worksOnWithANewKeyboard) {
  Desktop desktop;
  Victim victim(desktop.session);
  RunningProgram program(desktop.session);
  program.open();
  desktop.session.run({"setxkbmap", "de"});
  program.type("yz");
  EXPECT_TRUE(program.waitForQuery("yz"));
  program.key("Escape");
  EXPECT_TRUE(program.waitUntilClosed());
  // The space bar changes places with a key that had no use.
  desktop.session.run({"xmodmap", "-e", "keycode 65 = F13", "-e", "keycode 248 = space"});
  victim.expectNothingStuck();
  // The new map is read when it has been quiet for a moment; until then the space goes to the target.
  EXPECT_TRUE(waitUntil([&] {
    program.key(RunningProgram::kShortcut);
    return program.waitUntilOpen(Milliseconds(500));
  }));
  program.key("Escape");
  EXPECT_TRUE(program.waitUntilClosed());
  EXPECT_TRUE(desktop.session.keyboardIsFree());
  EXPECT_THAT(desktop.session.heldInput(), IsEmpty());
}

TEST(NeverStuck, endsWithItsDisplay) {
  Desktop desktop;
  Process& server =
      desktop.session.start({"Xvfb", "-displayfd", "1", "-screen", "0", "800x600x24", "-nolisten", "tcp"});
  ASSERT_TRUE(waitUntil([&] { return server.out().find('\n') != std::string::npos; })) << server.err();
  const std::string display = ":" + server.out().substr(0, server.out().find('\n'));
  RunningProgram program(desktop.session, {}, {{"DISPLAY", display}});
  server.kill(SIGKILL);
  EXPECT_TRUE(program.process().wait()) << "still running";
  EXPECT_THAT(program.process().err(), testing::HasSubstr("X11"));
}

}  // namespace
}  // namespace jumplark::desktop
