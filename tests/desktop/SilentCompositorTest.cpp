#include "desktop/support/Desktop.h"

namespace jumplark::desktop {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;

constexpr const char* kFinding = "This Wayland compositor tells nobody which window is in front";
constexpr const char* kRemedy = "Use Jumplark in a session of sway, KDE or GNOME, or in one on X11.";

/// As where the compositor runs in a window of KWin's, or a program takes KWin's name.
void ownNameOfKWin(PrivateSession& session) {
  const Process& owner = session.start({"gjs", "-c", R"(
    imports.gi.Gio.bus_own_name(2, "org.kde.KWin", 0, null, () => print("owned"), null);
    new imports.gi.GLib.MainLoop(null, false).run();)"});
  ASSERT_TRUE(waitUntil([&] { return owner.out() == "owned\n"; })) << owner.err();
}

TEST(SilentCompositor, eachCommandSaysInOneSentenceThatNothingCanBeOperatedWhoeverHasTheNameOfKWin) {
  Desktop desktop(WindowManager::weston);
  for (const bool isNameOwned : {false, true}) {
    if (isNameOwned) {
      ownNameOfKWin(desktop.session);
    }
    // The empty one starts the program in the background.
    for (const Arguments& arguments : {Arguments{"tree"}, {"act", "ok"}, {}, {"activate"}, {"preferences"}}) {
      SCOPED_TRACE(::testing::PrintToString(arguments) + (isNameOwned ? " beside a KWin" : ""));
      const Finished finished = desktop.jumplark.run(arguments);
      EXPECT_EQ(finished.status, 3);
      EXPECT_EQ(finished.out, "");
      EXPECT_THAT(finished.err, AllOf(HasSubstr(kFinding), HasSubstr(kRemedy)));
      EXPECT_EQ(finished.err.find('\n'), finished.err.size() - 1) << "one line: " << finished.err;
    }
    const Finished doctor = desktop.jumplark.run({"doctor", "--all"});
    EXPECT_EQ(doctor.status, 3) << doctor.err;
    EXPECT_THAT(doctor.out, AllOf(HasSubstr("One thing keeps"), HasSubstr(kFinding), HasSubstr(kRemedy)));
  }
}

TEST(SilentCompositor, swayIsNotTakenForKWinWhoeverHasItsName) {
  Desktop desktop(WindowManager::sway);
  ownNameOfKWin(desktop.session);
  EXPECT_THAT(desktop.jumplark.run({"doctor", "--all"}).out, ContainsRegex("ok +compositor: sway "));
}

}  // namespace
}  // namespace jumplark::desktop
