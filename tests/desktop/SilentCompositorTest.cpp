#include "desktop/support/Desktop.h"

namespace jumplark::desktop {
namespace {

using ::testing::HasSubstr;

constexpr const char* kFinding = "This Wayland compositor tells nobody which window is in front";
constexpr const char* kRemedy = "Use Jumplark in a session of sway, KDE or GNOME, or in one on X11.";

/// Returns when a program has KWin's name on the session bus.
void ownNameOfKWin(PrivateSession& session) {
  const Process& owner = session.start({"gjs", "-c", R"(
    imports.gi.Gio.bus_own_name(2, "org.kde.KWin", 0, null, () => print("owned"), null);
    new imports.gi.GLib.MainLoop(null, false).run();)"});
  ASSERT_TRUE(owner.waitForLine("owned")) << owner.err();
}

// As it has them when it runs in a window of such a compositor.
TEST(SilentCompositor, isNeitherKWinNorSwayWhoseNameAndSocketItHasAndEachCommandSaysInOneSentenceWhatIsMissing) {
  Desktop desktop(WindowManager::weston);
  const Desktop outer(WindowManager::sway);
  ownNameOfKWin(desktop.session);
  for (const Environment& inherited :
       {Environment{}, Environment{{"SWAYSOCK", outer.session.environment().at("SWAYSOCK")}}}) {
    // The empty one starts the program in the background.
    for (const Arguments& arguments : {Arguments{"tree"}, {}, {"activate"}}) {
      SCOPED_TRACE(::testing::PrintToString(arguments) + ::testing::PrintToString(inherited));
      const Finished finished = desktop.jumplark.run(arguments, inherited);
      EXPECT_EQ(finished.status, 3);
      EXPECT_EQ(finished.out, "");
      EXPECT_THAT(finished.err, AllOf(HasSubstr(kFinding), HasSubstr(kRemedy)));
      EXPECT_EQ(finished.err.find('\n'), finished.err.size() - 1) << "one line: " << finished.err;
    }
    const Finished doctor = desktop.jumplark.run({"doctor", "--all"}, inherited);
    EXPECT_EQ(doctor.status, 3) << doctor.err;
    EXPECT_THAT(doctor.out, AllOf(HasSubstr("One thing keeps"), HasSubstr(kFinding), HasSubstr(kRemedy)));
  }
}

TEST(OnSway, itsOwnSocketIsAskedThoughTheEnvironmentNamesNoneOrAnothers) {
  Desktop desktop(WindowManager::sway);
  const Desktop outer(WindowManager::sway);
  DemoProgram demo(desktop);
  for (const std::string& named : {std::string(), outer.session.environment().at("SWAYSOCK")}) {
    const Finished finished = desktop.jumplark.run(Arguments{"match", "apply"}, Environment{{"SWAYSOCK", named}});
    EXPECT_EQ(finished.status, 0) << finished.err;
    EXPECT_THAT(finished.out, HasSubstr("Apply"));
  }
}

}  // namespace
}  // namespace jumplark::desktop
