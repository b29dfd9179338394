#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>

#include "desktop/DesktopTest.h"
#include "desktop/support/AppWindows.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::desktop {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string read(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The files of a folder with this ending; none when there is no folder.
std::vector<fs::path> filesIn(const fs::path& folder, const std::string& ending) {
  std::vector<fs::path> found;
  std::error_code none;
  for (const auto& entry : fs::directory_iterator(folder, none)) {
    if (entry.path().extension() == ending) {
      found.push_back(entry.path());
    }
  }
  return found;
}

/// The beginning of what the window shows of the report.
std::string shownReport(PrivateSession& session) {
  for (const AccessibleElement& element : readApplication(session, "Jumplark")) {
    if (element.name == "Crash report") {
      return element.text;
    }
  }
  return {};
}

TEST(CrashReport, IsShownOnceAtTheNextStartAndHoldsNothingOfTheUsers) {
  Desktop desktop;
  PrivateSession& session = desktop.session;
  AppWindows windows(session);
  const Environment plainCrash{{"ASAN_OPTIONS", "handle_segv=0:detect_leaks=0"}};
  const fs::path crashes = fs::path(session.environment().at("HOME")) / ".local/state/jumplark/crashes";
  const DemoProgram demo(session);
  {
    RunningProgram program(session, nlohmann::json::object(), plainCrash);
    program.open();
    program.type("plantedquery");
    EXPECT_TRUE(program.waitForQuery("plantedquery"));
    program.process().kill(SIGSEGV);
    EXPECT_EQ(program.process().wait(), 128 + SIGSEGV);
    EXPECT_TRUE(program.waitUntilClosed());
  }
  const auto raw = filesIn(crashes, ".raw");
  ASSERT_EQ(raw.size(), 1U);
  EXPECT_THAT(read(raw[0]), AllOf(HasSubstr("Program: Jumplark "), HasSubstr("X server: "), HasSubstr("End\n"),
                                  Not(HasSubstr("planted")), Not(HasSubstr("demo"))));
  const SessionWindow window = session.waitForWindowTitled("Demo");
  ASSERT_TRUE(session.activate(window.id));

  Process& next = session.start({JUMPLARK_PROGRAM});
  windows.waitFor("label", "Jumplark ended unexpectedly the last time.");
  EXPECT_THAT(shownReport(session), StartsWith("Program: Jumplark "));
  EXPECT_FALSE(windows.shows("push button", "Send")) << "this build has no address";
  windows.click("push button", "Copy");
  windows.waitFor("label", "Copied.");
  windows.click("push button", "Save…");
  windows.waitFor("push button", "Save");
  session.keys({"key", "Return"});
  windows.waitFor("label", "Saved.");
  const fs::path saved = fs::path(session.environment().at("HOME")) / "jumplark-crash.txt";
  EXPECT_THAT(read(saved), AllOf(StartsWith(shownReport(session)), HasSubstr("Signal: SIGSEGV (11)"),
                                 HasSubstr("QtMainLoop::run"), HasSubstr("Qt 6."), Not(HasSubstr(session.folder()))));
  struct stat status {};
  ASSERT_EQ(::stat(saved.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_THAT(next.out(), Not(HasSubstr("is running"))) << "the report comes first";
  windows.click("push button", "Close");
  EXPECT_TRUE(waitUntil([&] { return next.out().find("Jumplark is running.") != std::string::npos; })) << next.err();
  next.kill(SIGTERM);
  EXPECT_EQ(next.wait(), 0);
  EXPECT_TRUE(filesIn(crashes, ".raw").empty());
  const RunningProgram third(session);
  EXPECT_FALSE(windows.shows("label", "Jumplark ended unexpectedly the last time."));
}

TEST(CrashReport, AFolderThatIsNotTheUsersIsToldOfOnceAndTheProgramRuns) {
  PrivateSession session;
  const fs::path state = fs::path(session.environment().at("HOME")) / ".local/state/jumplark";
  fs::create_directories(state);
  fs::create_directory(session.folder() + "/elsewhere");
  fs::create_directory_symlink(session.folder() + "/elsewhere", state / "crashes");
  RunningProgram program(session, nlohmann::json::object(), {{"ASAN_OPTIONS", "handle_segv=0:detect_leaks=0"}});
  const std::string told = program.process().out() + program.process().err();
  EXPECT_THAT(told, HasSubstr("No crash report can be kept: "));
  program.process().kill(SIGSEGV);
  EXPECT_EQ(program.process().wait(), 128 + SIGSEGV);
  EXPECT_TRUE(fs::is_empty(session.folder() + "/elsewhere"));
}

}  // namespace
}  // namespace jumplark::desktop
