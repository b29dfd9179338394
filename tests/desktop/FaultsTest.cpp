#include <csignal>
#include <functional>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

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

/// `jumplark tree` of an application, which gets the signal when that many calls have been made.
Finished readTree(Application& application, int calls, int signal) {
  const std::string pid = std::to_string(application.process().pid());
  return application.desktop().jumplark.run(
      {"tree", "--pid", pid}, {{"LD_PRELOAD", JUMPLARK_FAULT_AT_CALL},
                               {"FAULT", std::to_string(calls) + ' ' + std::to_string(signal) + ' ' + pid},
                               {"ASAN_OPTIONS", "verify_asan_link_order=0"}});
}

Finished readTree(Application& application) {
  return application.desktop().jumplark.run("tree", application.target());
}

/// The tree once it holds more than the window, and no longer grows.
size_t wholeTree(Application& application) {
  size_t now = 0;
  size_t before = 0;
  EXPECT_TRUE(waitUntil([&] {
    before = now;
    now = elementsIn(readTree(application));
    return before > 40 && now == before;
  }));
  return now;
}

Program demo(const std::string& page) {
  return {.command = {JUMPLARK_DEMO_QT6, page}, .busName = DemoProgram::kName, .role = "frame", .element = "Demo"};
}

TEST(Faults, anApplicationThatStopsOrEndsIsGivenUpWithWhatWasRead) {
  Desktop desktop;
  const std::pair<Program, int> cases[] = {{demo("Form"), 8},
                                           {widgetFactory3(), 20},
                                           {widgetFactory4(), 60},
                                           {chromium(desktop.session, "controls.html", "Controls"), 150}};
  for (const auto& [program, killedAfter] : cases) {
    SCOPED_TRACE(program.busName);
    Application application(desktop, program);
    const size_t whole = wholeTree(application);
    for (const int calls : {1, 60, 300}) {
      SCOPED_TRACE(calls);
      const Finished cut = readTree(application, calls, SIGSTOP);
      EXPECT_EQ(cut.status, calls == 1 ? 3 : 0) << cut.err;
      EXPECT_LE(elementsIn(cut), whole);
      EXPECT_EQ(elementsIn(cut) > 1, calls > 1);
      application.process().resume();
      EXPECT_EQ(elementsIn(readTree(application)), whole);
    }
    const Finished cut = readTree(application, killedAfter, SIGKILL);
    EXPECT_TRUE(cut.status == 0 || cut.status == 3) << cut.status.value_or(-1) << cut.err;
    EXPECT_EQ(cut.err.empty(), cut.status == 0) << cut.err;
    EXPECT_TRUE(application.process().wait().has_value());
  }
}

TEST(Faults, ofWhatIsLargeOnlyThatWhichShowsIsRead) {
  Desktop desktop;
  const struct {
    Program program;
    const char* shows;
    const char* isFarBelow;
  } cases[] = {{demo("Table"), "\"Note 3\"", "\"Note 90\""},
               {longList(desktop.session), "\"row 3\"", "\"row 900\""},
               {demo("Text"), "This is line 3 of many", "line 900 of many"},
               {mousepad(desktop.session), "This is line 3 of many", "line 900 of many"}};
  constexpr size_t kMostElements = 250;
  for (const auto& [program, shows, isFarBelow] : cases) {
    SCOPED_TRACE(program.command.back());
    const Application application(desktop, program);
    for (const Arguments& options : {Arguments{}, Arguments{"--all"}}) {
      const Finished tree = desktop.jumplark.run("tree", application.target(), options);
      EXPECT_EQ(tree.status, 0) << tree.err;
      EXPECT_GE(countOf(tree.out, shows), 1U) << tree.out.substr(0, 3000);
      EXPECT_EQ(countOf(tree.out, isFarBelow), 0U);
      EXPECT_LT(elementsIn(tree), kMostElements);
    }
  }
}

TEST(Faults, elementsThatComeAndGoLeaveASaneTree) {
  Desktop desktop;
  Application application(desktop, demo("Changing"));
  application.matchesWith("Button", "Lasting");
  for (int i = 0; i < 5; ++i) {
    const Finished tree = readTree(application);
    EXPECT_EQ(tree.status, 0) << tree.err;
    EXPECT_EQ(countOf(tree.out, "\"Lasting\""), 1U) << tree.out;
    EXPECT_LE(elementsIn(tree), 110U);
  }
}

}  // namespace
}  // namespace jumplark::desktop
