#include "desktop/Use.h"
#include "desktop/support/GnomeSession.h"

namespace jumplark::desktop {
namespace {

TEST(UseOnGnome, aTypedQueryBoxesAButtonAndReturnPressesIt) {
  Use use(WindowManager::gnome);
  const Matches matches = use.demo.matchesWith("Button", "Apply");
  const Match* match = find(matches, "Button", "Apply");
  ASSERT_TRUE(match);
  const PixelRect apply = match->rect;
  const uint32_t plain = boxPixel(use.session(), apply);
  use.program.open();
  use.program.query("apply");
  EXPECT_TRUE(use.boxed(apply, kSelectedColor, plain));
  use.close("Return");
  EXPECT_TRUE(use.demo.says("clicked Apply"));
}

/// What else there is to choose, by what the application prints.
TEST(UseOnGnome, whatAQueryFindsIsUsedAsByHand) {
  Use use(WindowManager::gnome);
  struct Case {
    std::string query;
    std::string told;  ///< of what is chosen
    std::string line;
  };
  const Case cases[] = {{"wrap", "Wrap text", "checked Wrap text true"},
                        {"name", "Name", "focused Name"},
                        {"country", "Austria", "opened Country"},
                        {"about", "About", "triggered About"},  // of a closed menu, while the combo box's list is open
                        {"help", "Help", "opened Help"},
                        {"about", "About", "triggered About"}};
  for (const Case& one : cases) {
    SCOPED_TRACE(one.query);
    const size_t before = use.demo.process().countOfLine(one.line);
    use.program.open();
    use.program.query(one.query);
    EXPECT_TRUE(waitUntil([&] { return use.program.description().find(one.told) != std::string::npos; }))
        << use.program.description();
    use.close("Return");
    EXPECT_TRUE(waitUntil([&] { return use.demo.process().countOfLine(one.line) > before; }))
        << use.demo.process().out();
    // For a while it makes the click a double one.
    EXPECT_TRUE(waitUntil([&] { return dynamic_cast<GnomeSession&>(use.session()).isFree("Return"); }));
  }
}

TEST(WithoutExtension, onlyXwaylandIsOperatedUntilTheUserSwitchesItOn) {
  Desktop desktop(WindowManager::gnome);
  auto& session = dynamic_cast<GnomeSession&>(desktop.session);
  session.setExtension(false);
  DemoProgram demo(desktop, "Form", {{"QT_QPA_PLATFORM", "xcb"}});
  EXPECT_TRUE(waitUntil([&] { return desktop.jumplark.run("act", {}, {"apply"}).status == 0; }));
  EXPECT_TRUE(demo.says("clicked Apply"));
  // A window that Xwayland knows nothing of lies over that one, and must not get its clicks.
  Application wayland(desktop, {.command = {JUMPLARK_DEMO_QT6, "Form"}, .busName = DemoProgram::kName, .target = {}});
  EXPECT_TRUE(waitUntil([&] { return wayland.isActive(); }));
  EXPECT_TRUE(waitUntil([&] { return desktop.jumplark.run("act", {}, {"apply"}).status == 3; }));

  RunningProgram program(session);
  const auto asks = [&] {
    const uint32_t active = session.activeWindow();
    return program.windows().find("push button", "Switch It On") && session.hasWindow([&](const SessionWindow& window) {
      return window.id == active && window.pid == program.pid();
    });
  };
  ASSERT_TRUE(waitUntil(asks)) << program.process().err();
  program.key("Return");
  EXPECT_TRUE(waitUntil([&] { return !session.isFree("<Super><Shift>space"); })) << program.process().err();
  program.open();
  program.close("Escape");
}

}  // namespace
}  // namespace jumplark::desktop
