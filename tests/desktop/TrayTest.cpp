#include <csignal>

#include "desktop/support/Desktop.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::desktop {
namespace {

namespace fs = std::filesystem;

/// Where a panel of that height has its first icon.
constexpr PixelRect kIcon{0, 0, 30, 30};
constexpr uint32_t kIconColor = 0x2088d4;

/// A panel along the top edge with nothing but a place for status icons.
class Panel {
 public:
  /// `theme` of GTK.
  explicit Panel(PrivateSession& session, std::string theme = "Adwaita") : session_(session), theme_(std::move(theme)) {
    const fs::path folder = session.environment().at("XDG_CONFIG_HOME");
    testing::writeFile(folder / "xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml",
                       R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="30"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty"><property name="plugin-1" type="string" value="systray"/></property>
</channel>
)");
    start();
  }

  void start() {
    process_ = &session_.start({"xfce4-panel", "--disable-wm-check"}, {{"GTK_THEME", theme_}});
    session_.waitForWindow(
        [](const SessionWindow& window) { return window.className.find("panel") != std::string::npos; });
  }
  void end() {
    process_->kill(SIGTERM);
    process_->wait();
  }

  /// Whether the one icon shows in the program's own colour.
  bool hasIcon() const { return std::ranges::count(session_.pixels(kIcon), kIconColor) > 0; }
  /// How many pixels of the first icon are nearly white.
  long whiteness() const {
    return std::ranges::count_if(session_.pixels(kIcon), [](uint32_t pixel) { return similar(pixel, 0xffffff, 40); });
  }
  bool waitForIcon(bool shown) const {
    return waitUntil([&] { return hasIcon() == shown; });
  }
  /// Opens the icon's menu with a button of the pointer and clicks the entry that is `steps` below the first.
  void choose(int steps, const char* button) const {
    ASSERT_TRUE(waitForIcon(true));
    // The panel opens the menu once the program has told it the entries; a click meanwhile may be lost.
    ASSERT_TRUE(waitUntil([&] {
      session_.click(12, 15, button);
      return waitUntil([&] { return hasMenu(); }, Milliseconds(3000));
    }));
    Arguments keys(static_cast<size_t>(steps) + 1, "Down");
    keys.emplace_back("Return");
    session_.press(keys);
    ASSERT_TRUE(waitUntil([&] { return !hasMenu(); }));
  }

 private:
  bool hasMenu() const {
    return session_.hasWindow(
        [](const SessionWindow& window) { return window.overrideRedirect && window.rect.height > 100; });
  }

  PrivateSession& session_;
  const std::string theme_;
  Process* process_ = nullptr;
};

TEST(Tray, theIconsMenuLeadsToEachPaneAndEndsTheProgram) {
  Desktop desktop;
  Panel panel(desktop.session);
  RunningProgram program(desktop.session);
  AppWindows& windows = program.windows();
  const std::tuple<int, const char*, const char*, const char*> cases[] = {
      {1, "1", "About", "Version "}, {2, "3", "Help", "This desktop"}, {3, "1", "General", "Activation shortcut:"}};
  for (const auto& [step, button, pane, shows] : cases) {
    SCOPED_TRACE(pane);
    panel.choose(step, button);
    EXPECT_TRUE(windows.waitForState("check box", pane, "checked"));
    windows.waitFor("label", shows);
    EXPECT_TRUE(waitUntil([&] { return program.isOpen(); })) << "the window is not in front";
  }
  // The icon goes and comes with its setting, and with the panel.
  panel.choose(3, "1");
  windows.click("check box", "Show the icon in the panel");
  EXPECT_TRUE(panel.waitForIcon(false));
  windows.changeSetting("ShowMenuBarIcon", true);
  EXPECT_TRUE(panel.waitForIcon(true));
  program.close();
  panel.end();
  panel.start();
  const DemoProgram demo(desktop);
  panel.choose(0, "1");
  EXPECT_TRUE(program.waitUntilOpen()) << "the query window";
  program.type("reload");
  EXPECT_TRUE(waitUntil([&] { return program.overlayWindows() > 0; })) << "over what was in front before the menu";
  program.close();
  panel.choose(5, "1");
  EXPECT_EQ(program.process().wait(), 0) << program.process().err();
  EXPECT_TRUE(panel.waitForIcon(false));
}

TEST(Tray, theInstalledIconIsWhiteOnADarkPanel) {
  Desktop desktop;
  const fs::path icons = fs::path(desktop.session.environment().at("XDG_DATA_HOME")) / "icons/hicolor/symbolic/apps";
  testing::writeFile(icons / "jumplark-symbolic.svg", testing::readFile(JUMPLARK_ICONS "/jumplark-symbolic.svg"));
  const Panel panel(desktop.session, "Adwaita:dark");
  const RunningProgram program(desktop.session);
  EXPECT_TRUE(waitUntil([&] { return panel.whiteness() > 100; })) << panel.whiteness();
  EXPECT_FALSE(panel.hasIcon()) << "not in colours of its own";
}

}  // namespace
}  // namespace jumplark::desktop
