#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>

#include "desktop/DesktopTest.h"
#include "desktop/support/AppWindows.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::desktop {
namespace {

namespace fs = std::filesystem;

constexpr int kPanelHeight = 30;
constexpr uint32_t kIconColor = 0x2088d4;

/// A panel along the top edge with nothing but a place for status icons.
class Panel {
 public:
  /// `theme` of GTK.
  explicit Panel(PrivateSession& session, std::string theme = "Adwaita") : session_(session), theme_(std::move(theme)) {
    const fs::path folder =
        fs::path(session.environment().at("XDG_CONFIG_HOME")) / "xfce4" / "xfconf" / "xfce-perchannel-xml";
    fs::create_directories(folder);
    std::ofstream(folder / "xfce4-panel.xml") << R"(<?xml version="1.0" encoding="UTF-8"?>
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
)";
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

  /// The icon's first pixel in the program's colour; none while there is no icon.
  std::optional<std::pair<int, int>> icon() const {
    const auto pixels = session_.pixels({0, 0, Desktop::kWidth, kPanelHeight});
    const auto found = std::ranges::find(pixels, kIconColor);
    if (found == pixels.end()) {
      return std::nullopt;
    }
    const auto index = static_cast<int>(found - pixels.begin());
    return std::pair(index % Desktop::kWidth, index / Desktop::kWidth);
  }
  /// How many pixels where the icon is are far lighter or darker than the empty panel.
  long contrast() const {
    const auto lightness = [](uint32_t pixel) {
      return static_cast<int>((pixel >> 16U & 0xFF) + (pixel >> 8U & 0xFF) + (pixel & 0xFF)) / 3;
    };
    const int empty = lightness(session_.pixel(Desktop::kWidth / 2, kPanelHeight / 2));
    const auto pixels = session_.pixels({0, 0, kPanelHeight, kPanelHeight});
    return std::ranges::count_if(pixels, [&](uint32_t pixel) { return std::abs(lightness(pixel) - empty) > 120; });
  }
  bool waitForIcon(bool shown) const {
    return waitUntil([&] { return icon().has_value() == shown; });
  }
  /// Opens the icon's menu with a button of the pointer and clicks the entry that is `steps` below the first.
  void choose(int steps, const char* button) const {
    ASSERT_TRUE(waitForIcon(true));
    // The panel opens the menu once the program has told it the entries; a click meanwhile may be lost.
    ASSERT_TRUE(waitUntil([&] {
      const auto at = icon();
      if (!at) {
        return false;
      }
      session_.keys({"mousemove", std::to_string(at->first + 2), std::to_string(at->second + 6), "click", button});
      return waitUntil([&] { return menu().has_value(); }, Milliseconds(3000));
    }));
    Arguments keys = {"key"};
    keys.insert(keys.end(), static_cast<size_t>(steps) + 1, "Down");
    keys.emplace_back("Return");
    session_.keys(keys);
    ASSERT_TRUE(waitUntil([&] { return !menu(); }));
  }

 private:
  std::optional<SessionWindow> menu() const {
    return session_.findWindow(
        [](const SessionWindow& window) { return window.overrideRedirect && window.rect.height > 100; });
  }

  PrivateSession& session_;
  const std::string theme_;
  Process* process_ = nullptr;
};

TEST(Tray, theIconsMenuLeadsToEachPaneAndEndsTheProgram) {
  Desktop desktop;
  Panel panel(desktop.session);
  AppWindows windows(desktop.session);
  RunningProgram program(desktop.session);
  const struct {
    int step;
    const char* button;
    const char* pane;
    const char* shows;
  } cases[] = {{1, "1", "About", "Version "},
               {2, "3", "Help", "This desktop"},
               {3, "1", "General", "Activation shortcut:"},
               {4, "3", "Usage", "Elements actioned"}};
  for (const auto& example : cases) {
    SCOPED_TRACE(example.pane);
    panel.choose(example.step, example.button);
    EXPECT_TRUE(windows.waitForState("check box", example.pane, "checked"));
    windows.waitFor("label", example.shows);
    EXPECT_TRUE(waitUntil([&] { return program.isOpen(); })) << "the window is not in front";
  }
  // The icon goes and comes with its setting, and with the panel.
  panel.choose(3, "1");
  windows.click("check box", "Show the icon in the panel");
  EXPECT_TRUE(panel.waitForIcon(false));
  windows.changeSetting("ShowMenuBarIcon", true);
  EXPECT_TRUE(panel.waitForIcon(true));
  program.key("Escape");
  EXPECT_TRUE(program.waitUntilClosed());
  panel.end();
  panel.start();
  const DemoProgram demo(desktop.session);
  panel.choose(0, "1");
  EXPECT_TRUE(program.waitUntilOpen()) << "the query window";
  program.type("reload");
  EXPECT_TRUE(waitUntil([&] { return !program.overlayWindows().empty(); })) << "over what was in front before the menu";
  program.key("Escape");
  EXPECT_TRUE(program.waitUntilClosed());
  panel.choose(5, "1");
  EXPECT_EQ(program.process().wait(), 0) << program.process().err();
  EXPECT_TRUE(panel.waitForIcon(false));
}

TEST(Tray, theInstalledIconTakesTheColourOfThePanelsTexts) {
  for (const char* theme : {"Adwaita", "Adwaita:dark"}) {
    SCOPED_TRACE(theme);
    Desktop desktop;
    const fs::path icons = fs::path(desktop.session.environment().at("XDG_DATA_HOME")) / "icons/hicolor/symbolic/apps";
    fs::create_directories(icons);
    fs::copy(JUMPLARK_ICONS "/jumplark-symbolic.svg", icons);
    const Panel panel(desktop.session, theme);
    const RunningProgram program(desktop.session);
    EXPECT_TRUE(waitUntil([&] { return panel.contrast() > 100; })) << panel.contrast();
    EXPECT_FALSE(panel.icon()) << "not in colours of its own";
  }
}

}  // namespace
}  // namespace jumplark::desktop
