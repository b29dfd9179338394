#include <csignal>
#include <functional>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

/// An application of each way of reading.
struct Subject {
  const char* name;
  Process& (*start)(PrivateSession& session);
};

Process& startAtFront(PrivateSession& session, const Arguments& arguments) {
  Process& process = session.start(arguments);
  session.activate(session.waitForWindowOf(process.pid()).id);
  return process;
}

const Subject kSubjects[] = {
    {"Qt 6", [](PrivateSession& s) -> Process& { return startAtFront(s, {JUMPLARK_DEMO_QT6}); }},
    {"GTK 3", [](PrivateSession& s) -> Process& { return startAtFront(s, {"gtk3-widget-factory"}); }},
    {"GTK 4", [](PrivateSession& s) -> Process& { return startAtFront(s, {"gtk4-widget-factory"}); }},
    {"Chromium",
     [](PrivateSession& s) -> Process& {
       return startAtFront(s, {"chromium", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-sync",
                               "--disable-background-networking", "--disable-component-update",
                               "--user-data-dir=" + s.folder() + "/browser",
                               std::string("file://") + JUMPLARK_PAGES + "/controls.html"});
     }},
};

size_t countOf(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

size_t elementsIn(const Finished& tree) {
  return countOf(tree.out, "<Element ");
}

/// `jumplark tree` of a process, which gets the signal when that many calls have been made; 0: none.
Finished readTree(Desktop& desktop, pid_t pid, int calls = 0, int signal = 0) {
  const Environment fault = {
      {"LD_PRELOAD", JUMPLARK_FAULT_AT_CALL},
      {"FAULT", std::to_string(calls) + ' ' + std::to_string(signal) + ' ' + std::to_string(pid)},
      {"ASAN_OPTIONS", "verify_asan_link_order=0"}};
  return desktop.jumplark.run({"tree", "--pid", std::to_string(pid)}, calls > 0 ? fault : Environment());
}

/// The tree once it holds more than the window, and no longer grows.
Finished wholeTree(Desktop& desktop, pid_t pid) {
  Finished tree;
  size_t before = 0;
  EXPECT_TRUE(waitUntil([&] {
    before = elementsIn(tree);
    tree = readTree(desktop, pid);
    return before > 40 && elementsIn(tree) == before;
  })) << tree.err;
  return tree;
}

TEST(Faults, aStoppedApplicationIsGivenUpWithWhatWasRead) {
  for (const Subject& subject : kSubjects) {
    SCOPED_TRACE(subject.name);
    Desktop desktop;
    Process& application = subject.start(desktop.session);
    const Finished whole = wholeTree(desktop, application.pid());
    for (const int calls : {1, 60, 300}) {
      SCOPED_TRACE(calls);
      const Finished cut = readTree(desktop, application.pid(), calls, SIGSTOP);
      EXPECT_EQ(cut.status, calls == 1 ? 3 : 0) << cut.err;
      EXPECT_LE(elementsIn(cut), elementsIn(whole));
      EXPECT_EQ(elementsIn(cut) > 1, calls > 1);
      application.resume();
      EXPECT_EQ(elementsIn(readTree(desktop, application.pid())), elementsIn(whole));
    }
  }
}

TEST(Faults, anApplicationThatIsKilledWhileItIsReadIsNoError) {
  Desktop desktop;
  for (const int calls : {8, 20, 60, 150, 300}) {
    for (const Subject& subject : {kSubjects[0], kSubjects[1]}) {
      SCOPED_TRACE(std::string(subject.name) + ' ' + std::to_string(calls));
      Process& application = subject.start(desktop.session);
      wholeTree(desktop, application.pid());
      const Finished cut = readTree(desktop, application.pid(), calls, SIGKILL);
      EXPECT_TRUE(cut.status == 0 || cut.status == 3) << cut.status.value_or(-1) << cut.err;
      EXPECT_EQ(cut.err.empty(), cut.status == 0) << cut.err;
      EXPECT_TRUE(application.wait().has_value());
    }
  }
}

/// The programs of demo_large/, ready to be read.
Process& startLarge(Desktop& desktop, const char* program, const char* kind) {
  Process& process = desktop.session.start({program, kind});
  EXPECT_TRUE(process.waitForLine("ready")) << process.err();
  EXPECT_TRUE(waitUntil([&] { return readTree(desktop, process.pid()).status == 0; }));
  return process;
}

TEST(Faults, ofWhatIsLargeOnlyThatWhichShowsIsRead) {
  const struct {
    const char* kind;
    const char* shows;
    const char* isFarBelow;
    size_t mostElements;
  } cases[] = {{"table", "C row 3\"", "row 90\"", 150}, {"text", "This is line 3 of many", "line 900 of many", 10}};
  Desktop desktop;
  for (const auto& [kind, shows, isFarBelow, mostElements] : cases) {
    for (const char* program : {JUMPLARK_LARGE_QT6, JUMPLARK_LARGE_GTK3}) {
      SCOPED_TRACE(std::string(program) + ' ' + kind);
      Process& process = startLarge(desktop, program, kind);
      const std::string pid = std::to_string(process.pid());
      for (const Arguments& arguments : {Arguments{"tree", "--pid", pid}, Arguments{"tree", "--all", "--pid", pid}}) {
        const Finished tree = desktop.jumplark.run(arguments);
        EXPECT_EQ(tree.status, 0) << tree.err;
        EXPECT_GE(countOf(tree.out, shows), 1U) << tree.out.substr(0, 3000);
        EXPECT_EQ(countOf(tree.out, isFarBelow), 0U);
        EXPECT_LT(elementsIn(tree), mostElements);
      }
      process.kill(SIGKILL);
    }
  }
}

TEST(Faults, elementsThatComeAndGoLeaveASaneTree) {
  Desktop desktop;
  for (const char* program : {JUMPLARK_LARGE_QT6, JUMPLARK_LARGE_GTK3}) {
    SCOPED_TRACE(program);
    Process& process = startLarge(desktop, program, "changing");
    for (int i = 0; i < 5; ++i) {
      const Finished tree = readTree(desktop, process.pid());
      EXPECT_EQ(tree.status, 0) << tree.err;
      EXPECT_EQ(countOf(tree.out, "\"Lasting\""), 1U) << tree.out;
      EXPECT_LE(elementsIn(tree), 70U);
      EXPECT_GE(elementsIn(tree), 4U);
    }
    process.kill(SIGKILL);
  }
}

}  // namespace
}  // namespace jumplark::desktop
