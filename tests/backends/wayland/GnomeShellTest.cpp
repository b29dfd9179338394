#include <gtest/gtest.h>

#include "backends/linux/wayland/gnome/ShellBindings.h"
#include "backends/linux/wayland/gnome/ShellInputSources.h"
#include "backends/linux/wayland/gnome/ShellScene.h"
#include "platform/Input.h"

namespace jumplark::gnome {
namespace {

TEST(GnomeShellWindows, areReadWithTheShadowThatTheirProgramsDraw) {
  const Scene scene = readScene(R"({"focused": 7, "buttons": "menu:close", "windows": [
    {"id": 9, "pid": 12, "type": "popup", "popup": true, "frame": [40, 50, 80, 90], "surface": [30, 40, 100, 110]},
    {"id": 8, "pid": 11, "hidden": true, "frame": [0, 0, 10, 10], "surface": [0, 0, 10, 10]},
    {"id": 7, "pid": 10, "title": "Demo", "class": "demo", "type": "dialog", "transientFor": 8, "modal": true,
     "frame": [126, 223, 500, 400], "surface": [100, 200, 552, 460], "closes": true, "maximises": true},
    {"id": 6, "pid": 10, "x11": true, "type": "normal", "frame": [0, 0, 300, 200], "surface": [0, 37, 300, 163],
     "maximised": true, "maximises": true}], "pointer": [3, 4],
    "screens": [{"frame": [0, 0, 800, 600], "free": [0, 30, 800, 570]}]})");
  ASSERT_EQ(scene.windows.size(), 4U);
  EXPECT_EQ(scene.focused, WindowId(7));
  EXPECT_EQ(scene.buttons, "menu:close");
  EXPECT_EQ(scene.pointer, (Point{3, 4}));
  ASSERT_EQ(scene.screens.size(), 1U);
  EXPECT_EQ(scene.screens[0].free, (Rect{0, 30, 800, 570}));

  const WindowFacts& popup = scene.windows[0].facts;
  EXPECT_TRUE(popup.isPopup);
  EXPECT_EQ(popup.visible(), (Rect{40, 50, 80, 90}));

  const auto& dialog = scene.windows[1];
  EXPECT_EQ(dialog.facts.id, WindowId(7));
  EXPECT_EQ(dialog.facts.pid, 10);
  EXPECT_EQ(dialog.facts.title, "Demo");
  EXPECT_EQ(dialog.facts.type, WindowType::dialog);
  EXPECT_EQ(dialog.facts.transientFor, WindowId(8));
  EXPECT_TRUE(dialog.facts.modal);
  EXPECT_FALSE(dialog.facts.knowsItsPlace);
  EXPECT_EQ(dialog.facts.surface, (Rect{100, 200, 552, 460}));
  EXPECT_EQ(dialog.facts.visible(), (Rect{126, 223, 500, 400}));
  EXPECT_EQ(dialog.wishes, (std::vector{WindowWish::close, WindowWish::maximise}));

  // The shell draws its title bar.
  const auto& x11 = scene.windows[2];
  EXPECT_TRUE(x11.facts.knowsItsPlace);
  EXPECT_EQ(x11.facts.surface, (Rect{0, 37, 300, 163}));
  EXPECT_EQ(x11.facts.visible(), (Rect{0, 0, 300, 200}));
  EXPECT_EQ(x11.wishes, (std::vector{WindowWish::restore}));

  EXPECT_TRUE(scene.windows[3].facts.hidden) << "what does not show comes last";
}

TEST(GnomeShellWindows, areLeftOutWhereTheyMakeNoSense) {
  for (
      const char* const told :
      {"", "{", "[]", "7", R"({"windows": 3})", R"({"windows": [[], 4, null]})",
       R"({"windows": [{"id": 1, "pid": 2, "frame": [0, 0, 9], "surface": [0, 0, 9, 9]}]})",
       R"({"windows": [{"id": 1, "pid": 2, "frame": [0, 0, 1e999, -9], "surface": ["a", 0, 9, 9]}]})",
       R"({"windows": [{"id": -1, "pid": 2, "frame": [0, 0, 9, 9], "surface": [0, 0, 9, 9]}]})",
       R"({"windows": [{"id": 1, "pid": 99999999999, "frame": [0, 0, 9, 9], "surface": [0, 0, 9, 9]}]})",
       R"({"focused": "x", "windows": [{"id": 1, "pid": 2, "frame": [-200, -200, 1, 1], "surface": [0, 0, 9, 9]}]})"}) {
    const Scene scene = readScene(told);
    EXPECT_TRUE(scene.windows.empty()) << told;
    EXPECT_FALSE(scene.focused) << told;
  }
}

/// A screen of twice as many pixels, one without, and one with twice as many again.
const std::vector<WaylandOutput> kMixed = {
    {1, "A", {0, 0, 1280, 900}, 2, 2}, {2, "B", {2560, 0, 1400, 900}, 1, 1}, {3, "C", {3960, 0, 800, 600}, 2, 2}};

TEST(GnomeShellStage, isInPixelsOfEachScreenAndPointsAreNot) {
  struct Case {
    Rect stage;
    Rect points;
  };
  constexpr Case kCases[] = {{{100, 50, 600, 400}, {50, 25, 300, 200}},
                             {{2660, 50, 600, 400}, {2660, 50, 600, 400}},
                             {{4060, 200, 600, 400}, {4010, 100, 300, 200}},
                             {{2000, 0, 700, 400}, {1000, 0, 350, 200}},  // reaches beyond the first one
                             {{-300, -40, 20, 10}, {-150, -20, 10, 5}}};  // lies beside it
  for (const Case& one : kCases) {
    const WaylandOutput* const output = outputOf(one.stage, kMixed);
    ASSERT_TRUE(output);
    EXPECT_EQ(pointsOn(*output, one.stage), one.points);
    EXPECT_EQ(stagePointOf({one.points.x, one.points.y}, kMixed), (Point{one.stage.x, one.stage.y}));
  }
  EXPECT_EQ(stagePointOf({7, 8}, {}), (Point{7, 8}));
}

TEST(GnomeShellStage, givesWindowsPointsAndThoseOfXwaylandTheirUnit) {
  WindowFacts window;
  window.frame = window.surface = {100, 50, 600, 400};
  window.shadow = {20, 20, 10, 30};
  window.knowsItsPlace = false;
  putInPoints(window, kMixed);
  EXPECT_EQ(window.surface, (Rect{50, 25, 300, 200}));
  EXPECT_EQ(window.withoutShadow(), (Rect{60, 30, 280, 180}));
  EXPECT_EQ(window.unit, 1);

  window.knowsItsPlace = true;
  putInPoints(window, kMixed);
  EXPECT_EQ(window.unit, 0.5);
}

TEST(GnomeShellBindings, areNamedAsTheShellNamesThem) {
  using namespace modifier_flag;
  EXPECT_EQ(accelerator(0x20, command | shift), "<Super><Shift>space");
  EXPECT_EQ(accelerator(0xff0d, 0), "Return");
  EXPECT_EQ(accelerator(0x61, control | option), "<Control><Alt>a");
}

TEST(GnomeShellInputSources, areItsLayoutsWithoutTheInputMethods) {
  const SourceList list = readSources(R"({"current": 2, "sources": [{"type": "xkb", "id": "us", "place": 0},
    {"type": "ibus", "id": "anthy", "place": 1}, {"type": "xkb", "id": "de+neo", "place": 2}, 5]})");
  ASSERT_EQ(list.sources.size(), 2U);
  EXPECT_EQ(list.sources[0].layout, "us");
  EXPECT_EQ(list.sources[1].layout, "de(neo)");
  EXPECT_EQ(list.sources[1].place, 2U);
  EXPECT_EQ(list.current, 2);
  EXPECT_TRUE(readSources("nonsense").sources.empty());
}

}  // namespace
}  // namespace jumplark::gnome
