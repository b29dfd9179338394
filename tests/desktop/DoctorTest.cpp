#include <algorithm>
#include <regex>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// How many elements the doctor says show; -1 when it does not say.
int showing(const std::string& said) {
  std::smatch number;
  return std::regex_search(said, number, std::regex(R"((\d+) elements, (\d+) of them showing, in \d+ ms)"))
             ? std::stoi(number[2])
             : -1;
}

TEST(Doctor, tellsHowTheApplicationInFrontIsReadAndWhatWasLeftOut) {
  Desktop desktop;
  EXPECT_THAT(desktop.jumplark.run({"doctor", "--all"}).out, HasSubstr("No application is in front"));

  startWidgetFactory(desktop.session);
  // GTK offers its cache once somebody has registered for an event, which the first call does.
  std::string factory;
  EXPECT_TRUE(waitUntil([&] {
    factory = desktop.jumplark.run({"doctor", "--all"}).out;
    return factory.find("at once") != std::string::npos;
  })) << factory;
  EXPECT_THAT(factory, AllOf(HasSubstr("Widget Factory (process "), HasSubstr("3.24"), HasSubstr("a direct connection"),
                             Not(HasSubstr("password"))));
  EXPECT_GE(showing(factory), 140) << factory;

  const DemoProgram form(desktop.session);
  EXPECT_THAT(desktop.jumplark.run({"doctor", "--all"}).out,
              AllOf(HasSubstr("Qt 6"), HasSubstr("the accessibility bus."),
                    HasSubstr("The content of a password field is never read."), Not(HasSubstr("warning reading"))));
  EXPECT_GE(showing(desktop.jumplark.run({"doctor", "--all", "--app", kWidgetFactory}).out), 140)
      << "not in front, but named";
}

TEST(Doctor, tellsOfLongTablesAndOfSilentApplications) {
  Desktop desktop;
  DemoProgram demo(desktop.session, "Table");
  EXPECT_THAT(desktop.jumplark.run({"doctor", "--all"}).out,
              HasSubstr("Of a long list or table only the rows inside the window were read."));
  demo.process().stop();
  const Finished finished = desktop.jumplark.run({"doctor"});
  demo.process().resume();
  EXPECT_EQ(finished.status, 0) << finished.err;
  EXPECT_THAT(finished.out, HasSubstr("stopped answering"));
}

TEST(Doctor, tellsTheSwitchForABrowserThatShowsNoPage) {
  Desktop desktop;
  // Without a session bus it cannot learn that accessibility is switched on, and stays silent for good.
  desktop.session.start(
      {"chromium", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-component-update",
       "--disable-background-networking", "--disable-sync", "--user-data-dir=" + desktop.session.folder() + "/browser",
       std::string("file://") + JUMPLARK_PAGES + "/controls.html"},
      {{"DBUS_SESSION_BUS_ADDRESS", "disabled:"}});
  const SessionWindow window = desktop.session.waitForWindow(
      [](const SessionWindow& candidate) { return candidate.title.starts_with("Controls"); });
  ASSERT_TRUE(desktop.session.activate(window.id));
  EXPECT_THAT(desktop.jumplark.run({"doctor"}).out, AllOf(HasSubstr("is not on the accessibility bus"),
                                                          HasSubstr("start it with --force-renderer-accessibility")));
}

}  // namespace
}  // namespace jumplark::desktop
