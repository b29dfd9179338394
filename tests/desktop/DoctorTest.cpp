#include "desktop/support/Desktop.h"

namespace jumplark::desktop {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kShowing = "[0-9]+ elements, 1[4-9][0-9] of them showing, in [0-9]+ ms";

TEST(Doctor, tellsHowTheApplicationInFrontIsReadAndWhatWasLeftOut) {
  Desktop desktop;
  const auto tell = [&](const Arguments& target = {}) { return desktop.jumplark.run("doctor", target, {"--all"}).out; };
  EXPECT_THAT(tell(), HasSubstr("No application is in front"));

  const Application factory(desktop, widgetFactory3());
  // GTK offers its cache once somebody has registered for an event, which the first call does.
  std::string told;
  EXPECT_TRUE(waitUntil([&] { return (told = tell()).find("at once") != std::string::npos; })) << told;
  EXPECT_THAT(told, AllOf(HasSubstr("Widget Factory (process "), HasSubstr("3.24"), HasSubstr("a direct connection"),
                          ContainsRegex(kShowing), Not(HasSubstr("password"))));
  {
    const DemoProgram demo(desktop);
    EXPECT_THAT(tell(),
                AllOf(HasSubstr("Qt 6"), HasSubstr("the accessibility bus."),
                      HasSubstr("The content of a password field is never read."), Not(HasSubstr("warning reading"))));
    EXPECT_THAT(tell(factory.target()), ContainsRegex(kShowing)) << "not in front, but named";
    EXPECT_TRUE(find(desktop.jumplark.match({}), "Button", "OK")) << "the one in front without a target";
    EXPECT_TRUE(
        find(desktop.jumplark.match({"--pid", std::to_string(factory.process().pid())}), "RadioButton", "Page 2"));
  }
  DemoProgram demo(desktop, "Table");
  EXPECT_THAT(tell(), HasSubstr("Of a long list or table only the rows inside the window were read."));
  demo.process().stop();
  const Finished finished = desktop.jumplark.run({"doctor"});
  EXPECT_EQ(finished.status, 0) << finished.err;
  EXPECT_THAT(finished.out, HasSubstr("stopped answering"));
}

TEST(Doctor, tellsHowToStartAnApplicationThatShowsNothing) {
  Desktop desktop;
  // Without a session bus the browser cannot learn that accessibility is switched on, and stays silent for good.
  Program silentBrowser = chromium(desktop.session, "controls.html", "Controls");
  silentBrowser.environment = {{"DBUS_SESSION_BUS_ADDRESS", "disabled:"}};
  const std::pair<Program, const char*> cases[] = {
      {silentBrowser, "start it with --force-renderer-accessibility"},
      {{.command = {"gtk-demo"}, .busName = "gtk-demo"}, "GTK_MODULES=gail:atk-bridge"},
      {swingDemo(),
       "JAVA_TOOL_OPTIONS='-Djavax.accessibility.assistive_technologies=org.GNOME.Accessibility.AtkWrapper "}};
  for (const auto& [program, remedy] : cases) {
    const Application silent(desktop, program);
    const std::string told = desktop.jumplark.run({"doctor"}).out;
    EXPECT_THAT(told, AllOf(HasSubstr("is not on the accessibility bus"), HasSubstr(remedy)));
  }
}

TEST(Doctor, saysWhatIsMissingAndOnlyWhenAskedWhatIsNot) {
  {
    Desktop desktop;
    const Finished well = desktop.jumplark.run({"doctor"});
    EXPECT_EQ(well.status, 0) << well.out << well.err;
    EXPECT_THAT(well.out, AllOf(StartsWith("Jumplark works here."), Not(HasSubstr("session bus"))));
    EXPECT_THAT(desktop.jumplark.run({"doctor", "--all"}).out, HasSubstr("session bus"));
  }
  Desktop desktop(SessionOptions{.windowManager = WindowManager::openbox, .accessibility = false});
  const Finished ill = desktop.jumplark.run({"doctor"});
  EXPECT_EQ(ill.status, 3) << ill.out << ill.err;
  EXPECT_THAT(ill.out, AllOf(StartsWith("2 things keep Jumplark from working here.\nFAILED  accessibility bus"),
                             HasSubstr("at-spi2-core")));
}

TEST(Desktop, outOfReachIsSaidInOneSentence) {
  constexpr auto openbox = WindowManager::openbox;
  const SessionOptions cases[] = {{.windowManager = openbox},  // without an application
                                  {.windowManager = openbox, .sessionBus = false},
                                  {.windowManager = openbox, .accessibility = false},
                                  {.windowManager = WindowManager::none}};
  for (const SessionOptions& options : cases) {
    Desktop desktop(options);
    for (const Arguments& arguments : {Arguments{"tree"}, {"match", "ok"}, {"act", "ok"}, {"record"}}) {
      SCOPED_TRACE(arguments[0]);
      const Finished finished = desktop.jumplark.run(arguments);
      EXPECT_EQ(finished.status, 3) << finished.err;
      EXPECT_EQ(finished.out, "");
      EXPECT_EQ(finished.err.find('\n'), finished.err.size() - 1) << "one line: " << finished.err;
    }
  }
}

}  // namespace
}  // namespace jumplark::desktop
