#include <memory>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

using ::testing::HasSubstr;

/// Each fails with a status, one sentence on standard error, and nothing on standard output.
void expectRefusals(Jumplark& jumplark, const Arguments& target = {}, const Environment& extra = {}) {
  const Arguments commands[] = {{"tree"}, {"match", "ok"}, {"match", "--json", "ok"}, {"act", "ok"}, {"record"}};
  for (Arguments arguments : commands) {
    arguments.insert(arguments.begin() + 1, target.begin(), target.end());
    SCOPED_TRACE(::testing::PrintToString(arguments));
    const Finished finished = jumplark.run(arguments, extra);
    EXPECT_EQ(finished.status, 3) << finished.err;
    EXPECT_EQ(finished.out, "");
    EXPECT_EQ(finished.err.find('\n'), finished.err.size() - 1) << "one line: " << finished.err;
  }
}

TEST(Trouble, aDesktopOutOfReachIsSaidInOneSentence) {
  constexpr auto openbox = WindowManager::openbox;
  const std::pair<SessionOptions, std::vector<Environment>> cases[] = {
      {{.windowManager = openbox},
       {{},  // no application
        {{"DISPLAY", ""}},
        {{"DISPLAY", ":4711"}},
        {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus"}}}},
      {{.windowManager = openbox, .sessionBus = false}, {{}}},
      {{.windowManager = openbox, .accessibility = false}, {{}}},
      {{.windowManager = WindowManager::none}, {{}}}};
  for (const auto& [options, environments] : cases) {
    Desktop desktop(options);
    for (const Environment& environment : environments) {
      SCOPED_TRACE(::testing::PrintToString(environment));
      expectRefusals(desktop.jumplark, {}, environment);
    }
  }
}

TEST(Trouble, anApplicationThatHangsIsGivenUpAndARecordingThatCannotBeWrittenIsSaid) {
  Desktop desktop;
  DemoProgram demo(desktop);
  const Matches before = demo.matchesWith("Button", "OK");
  demo.process().stop();
  expectRefusals(desktop.jumplark, demo.target());
  demo.process().resume();
  EXPECT_TRUE(waitUntil([&] { return demo.matches().size() == before.size(); }));
  EXPECT_TRUE(demo.linesBeginning("pressed ").empty());

  const Finished finished =
      desktop.jumplark.run("record", demo.target(), {"-o", desktop.session.folder() + "/no/such/folder"});
  EXPECT_EQ(finished.status, 2) << finished.err;
  EXPECT_THAT(finished.err, HasSubstr("/no/such/folder"));
}

}  // namespace
}  // namespace jumplark::desktop
