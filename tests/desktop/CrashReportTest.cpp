#include <csignal>

#include "desktop/DesktopTest.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::desktop {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

TEST(CrashReport, isShownOnceAtTheNextStartAndHoldsNothingOfTheUsers) {
  Desktop desktop;
  PrivateSession& session = desktop.session;
  AppWindows windows(session);
  const DemoProgram demo(desktop);
  {
    RunningProgram program(session, {}, {{"ASAN_OPTIONS", "handle_segv=0:detect_leaks=0"}});
    program.open();
    program.query("plantedquery");
    program.process().kill(SIGSEGV);
    EXPECT_EQ(program.process().wait(), 128 + SIGSEGV);
    EXPECT_TRUE(program.waitUntilClosed());
  }
  const fs::path home = session.environment().at("HOME");
  std::string raw;
  for (const auto& entry : fs::directory_iterator(home / ".local/state/jumplark/crashes")) {
    raw += testing::readFile(entry.path());
  }
  EXPECT_THAT(raw, AllOf(HasSubstr("Program: Jumplark "), HasSubstr("X server: "), HasSubstr("End\n"),
                         Not(HasSubstr("planted")), Not(HasSubstr("demo"))));

  ASSERT_TRUE(session.activate(session.waitForWindowTitled("Demo").id));
  Process& next = session.start({JUMPLARK_PROGRAM});
  windows.waitFor("label", "Jumplark ended unexpectedly the last time.");
  const std::string shown = windows.waitFor("text", "Crash report").text;
  EXPECT_FALSE(windows.shows("push button", "Send")) << "this build has no address";
  windows.click("push button", "Copy");
  windows.waitFor("label", "Copied.");
  windows.click("push button", "Save…");
  windows.waitFor("push button", "Save");
  session.press({"Return"});
  windows.waitFor("label", "Saved.");
  const fs::path saved = home / "jumplark-crash.txt";
  EXPECT_THAT(shown, StartsWith("Program: Jumplark "));
  EXPECT_THAT(testing::readFile(saved),
              AllOf(StartsWith(shown), HasSubstr("Signal: SIGSEGV (11)"), HasSubstr("QtMainLoop::run"),
                    HasSubstr("Qt 6."), Not(HasSubstr(session.folder()))));
  EXPECT_EQ(fs::status(saved).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_THAT(next.out(), Not(HasSubstr("is running"))) << "the report comes first";
  windows.click("push button", "Close");
  EXPECT_TRUE(waitUntilReady(next)) << next.err();
  next.kill(SIGTERM);
  EXPECT_EQ(next.wait(), 0);
  const RunningProgram third(session);
  EXPECT_FALSE(windows.shows("label", "Jumplark ended unexpectedly the last time."));
}

}  // namespace
}  // namespace jumplark::desktop
