#include "desktop/DesktopTest.h"
#include "desktop/toolkits/Toolkits.h"

namespace jumplark::desktop {
namespace {

TEST(Act, bringsACoveredWindowForward) {
  Desktop desktop;
  DemoProgram demo(desktop);
  Process& cover = desktop.session.start({"xmessage", "-title", "Cover", "-geometry", "900x800+0+0", "in the way"});
  ASSERT_TRUE(desktop.session.activate(desktop.session.waitForWindowTitled("Cover").id));
  const Finished finished = demo.act("apply");
  EXPECT_EQ(finished.status, 0) << finished.err;
  EXPECT_TRUE(demo.says("clicked Apply"));
  EXPECT_TRUE(cover.running());
}

// Toolkits tell places in units of two pixels then.
TEST(Act, hitsWhatIsShownAtTwiceTheResolution) {
  Desktop desktop(SessionOptions{.width = 2800, .height = 1700});
  {
    DemoProgram demo(desktop, "Form", {{"QT_SCALE_FACTOR", "2"}});
    EXPECT_EQ(demo.act("apply").status, 0);
    EXPECT_TRUE(demo.says("clicked Apply"));
  }
  for (Program program : {widgetFactory3(), widgetFactory4()}) {
    SCOPED_TRACE(program.busName);
    program.environment["GDK_SCALE"] = "2";
    Application factory(desktop, program);
    factory.matchesWith("RadioButton", "Page 2");
    pointingAtUppermost("page 2", "Page 2")(factory);
    EXPECT_EQ(factory.act("page 2").status, 0);
    factory.matchesWith("StaticText", "Row 1");
  }
}

}  // namespace
}  // namespace jumplark::desktop
