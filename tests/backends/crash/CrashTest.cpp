#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>

#include "backends/system/SystemFixture.h"
#include "backends/x11/X11Fixture.h"

namespace jumplark {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class Crash : public SystemFixture {
 protected:
  std::unique_ptr<desktop::Process> crash(const std::string& way) {
    return std::make_unique<desktop::Process>(
        desktop::Arguments{JUMPLARK_CRASHING, "crash", folder_ / "crashes", way, "planted-argument"},
        desktop::Environment{{"PLANTED", "planted-environment"}}, (folder_ / "crashing").string());
  }
  std::vector<std::filesystem::path> rawReports() const {
    std::vector<std::filesystem::path> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder_ / "crashes")) {
      if (entry.path().extension() == ".raw") {
        found.push_back(entry.path());
      }
    }
    return found;
  }
  /// As the next start reads them.
  std::string reports() {
    desktop::Process program({JUMPLARK_CRASHING, "reports", folder_ / "crashes"}, {}, (folder_ / "reading").string());
    EXPECT_EQ(program.wait(), 0);
    return program.out();
  }
};

TEST_F(Crash, leavesAReportThatNamesTheFunctionAndEndsByItsSignal) {
  const struct {
    std::string way;
    int signal;
    std::vector<const char*> told;
  } cases[] = {
      {"reads nowhere", SIGSEGV, {"Signal: SIGSEGV (11), code 1, address 0x10000", "readsNowhere", "main"}},
      {"calls nowhere", SIGSEGV, {"SIGSEGV", "callsNowhere"}},
      {std::to_string(SIGFPE), SIGFPE, {"SIGFPE", "raises"}},
      {std::to_string(SIGILL), SIGILL, {"SIGILL", "raises"}},
      {std::to_string(SIGTRAP), SIGTRAP, {"SIGTRAP", "raises"}},
      {std::to_string(SIGBUS), SIGBUS, {"SIGBUS", "raises"}},
      {"throws", SIGABRT, {"SIGABRT", "throwsToNobody", "Exception: std::runtime_error"}},
      {"throws in a thread", SIGABRT, {"throwsToNobody", "Exception: std::runtime_error", "Thread: second"}},
      {"recurses", SIGSEGV, {"SIGSEGV", "recurses"}},
      {"recurses in a thread", SIGSEGV, {"recurses", "Thread: second"}},
#ifndef __SANITIZE_ADDRESS__
      {"breaks the heap", SIGABRT, {"SIGABRT", "malloc", "breaksTheHeap"}},
#endif
      {"everywhere", SIGSEGV, {"readsNowhere"}},
      // It crashes in the handler again, which leaves what is written by then.
      {"loses its stack", SIGSEGV, {"SIGSEGV", "losesItsStack"}},
  };
  for (const auto& [way, signal, told] : cases) {
    SCOPED_TRACE(way);
    EXPECT_EQ(crash(way)->wait(), 128 + signal);
    const auto raw = rawReports();
    ASSERT_EQ(raw.size(), 1U);
    EXPECT_EQ(modeOf(raw[0]), 0600U);
    const std::string text = read(raw[0]) + reports();
    EXPECT_THAT(text, AllOf(HasSubstr("Program: Crashing 1.0"), Not(HasSubstr("planted"))));
    EXPECT_EQ(text.find("breaks off") != std::string::npos, way == "loses its stack");
    for (const char* part : told) {
      EXPECT_THAT(text, HasSubstr(part));
    }
    EXPECT_THAT(rawReports(), IsEmpty()) << "a report is new once";
    EXPECT_EQ(reports(), "");
  }
}

TEST_F(Crash, isToldWithoutNamesWhenLookingForThemHasEndedTheProgram) {
  const std::string way = std::to_string(SIGABRT);
  EXPECT_EQ(crash(way)->wait(), 128 + SIGABRT);
  write(folder_ / "crashes" / "reading", "");
  EXPECT_THAT(reports(), AllOf(HasSubstr("crashing-program+0x"), Not(HasSubstr("raises"))));
  EXPECT_EQ(crash(way)->wait(), 128 + SIGABRT);
  EXPECT_THAT(reports(), AllOf(HasSubstr("SIGABRT"), HasSubstr("raises"), Not(HasSubstr("address"))));
}

TEST_F(Crash, withoutRoomForTheReportEndsByItsSignalAllTheSame) {
  desktop::Process program({"bash", "-c", R"(ulimit -f 0; exec "$@")", "-", JUMPLARK_CRASHING, "crash",
                            folder_ / "crashes", "reads nowhere"},
                           desktop::Environment{{"PATH", "/usr/bin:/bin"}}, (folder_ / "crashing").string());
  EXPECT_EQ(program.wait(), 128 + SIGSEGV);
  ASSERT_EQ(rawReports().size(), 1U);
  EXPECT_EQ(read(rawReports()[0]), "");
  EXPECT_EQ(reports(), "") << "an empty one is nothing to show";
}

class CrashOnADisplay : public X11Test {};

// The process still lives, as one does while its core image is written.
TEST_F(CrashOnADisplay, letsGoOfButtonAndKeyboardFirst) {
  start({.windowManager = desktop::WindowManager::none});
  const std::string crashes = session_->folder() + "/crashes";
  desktop::Process& program = session_->start({JUMPLARK_CRASHING, "crash-when-told", crashes});
  ASSERT_TRUE(program.waitForLine("holding"));
  EXPECT_THAT(session_->heldInput(), HasSubstr("button 1"));
  EXPECT_FALSE(session_->keyboardIsFree());
  program.kill(SIGUSR1);
  ASSERT_TRUE(program.waitForLine("handed on"));
  EXPECT_TRUE(nothingIsHeld());
  EXPECT_TRUE(keyboardIsFree());
  EXPECT_TRUE(program.running());
  EXPECT_FALSE(std::filesystem::is_empty(crashes));
}

}  // namespace
}  // namespace jumplark
