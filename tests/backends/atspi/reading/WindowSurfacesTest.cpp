#include <utility>

#include "backends/atspi/support/SourceFixture.h"

namespace jumplark::atspi {
namespace {

/// A frame, what fills it, and a control that stands in the corner of what a person sees of it.
struct Told {
  const char* name;
  const char* toolkit;
  const char* version;
  Rect frame;
  std::vector<Rect> whole;  ///< each in the one before it
  std::vector<Rect> parts;  ///< in the innermost of those
  Point control;
};

/// The window system tells where the 400 by 300 points of the window are that a person sees, (100, 50), and no more.
class WindowSurfaces : public SourceFixture, public ::testing::WithParamInterface<Told> {
 protected:
  /// Every element of a browser has a text.
  template <typename... Said>
  FakeElement& add(const std::string& parent, const std::string& id, Said... said) {
    return SourceFixture::add(parent, id, said...).with("Text");
  }

  WindowSurfaces() : SourceFixture(GetParam().toolkit, GetParam().version) {
    windows.windows.front().knowsItsPlace = false;
    app.at("frame").rect = GetParam().frame;
    std::string parent = "frame";
    for (const Rect& rect : GetParam().whole) {
      add(parent, parent + "_in", role::panel, "", Rect(rect));
      parent += "_in";
    }
    constexpr double kNowhere = -2147483648.0;
    add(parent, "closed", role::panel, "", Rect{kNowhere, kNowhere, 1, 1});
    add(parent, "hidden", role::panel, "", Rect{0, 0, 20, 20}).states = 0;
    for (size_t i = 0; i < GetParam().parts.size(); ++i) {
      add(parent, "part" + std::to_string(i), role::panel, "", GetParam().parts[i]);
    }
    const Point corner = GetParam().control;
    add(parent, "control", role::pushButton, "Control", Rect{corner.x, corner.y, 50, 20});
    add("root", "menu", role::window, "", Rect{corner.x, corner.y + 20, 80, 40});
    add("menu", "item", role::menuItem, "Item", Rect{corner.x, corner.y + 20, 80, 20});
  }
};

TEST_P(WindowSurfaces, beginWhereThePartOfTheFrameIsThatAPersonSees) {
  const auto placeNow = [&](const std::string& id) { return *live().get(app.ref(id), facts::extents)->extents; };
  EXPECT_EQ(placeNow("control"), (Rect{100, 50, 50, 20})) << "before a snapshot";
  prepare();
  EXPECT_EQ(read("control")->extents, (Rect{100, 50, 50, 20}));
  EXPECT_EQ(placeNow("control"), (Rect{100, 50, 50, 20}));
  if (GetParam().toolkit != std::string("gtk")) {
    EXPECT_EQ(read("item")->extents, (Rect{100, 70, 80, 20})) << "in a menu, which has no window";
  }
}

TEST_P(WindowSurfaces, areFollowedWithoutLookingIntoThemAgain) {
  prepare();
  const size_t before = app.timesAsked("Component.GetExtents frame");
  for (Rect* rect : {&windows.windows.front().surface, &windows.windows.front().frame}) {
    *rect = {rect->x + 30, rect->y + 40, rect->width, rect->height};
  }
  EXPECT_EQ(live().get(app.ref("control"), facts::extents)->extents, (Rect{130, 90, 50, 20}));
  const bool mayCountFromElsewhere = GetParam().toolkit == std::string("Qt");
  EXPECT_EQ(app.timesAsked("Component.GetExtents frame"), before + (mayCountFromElsewhere ? 1 : 0));
}

const Told kTold[] = {
    {"Gtk3WithShadow", "gtk", "3.24.38", {0, 0, 452, 352}, {}, {{26, 23, 400, 47}, {26, 70, 400, 253}}, {26, 23}},
    {"Gtk3Decorated", "gtk", "3.24.38", {0, 0, 400, 300}, {{0, 0, 400, 300}}, {{6, 6, 388, 40}}, {0, 0}},
    {"Gtk4", "GTK", "4.8.3", {0, 0, 400, 300}, {}, {{10, 57, 380, 240}}, {0, 0}},
    {"Qt5", "Qt", "5.15.8", {0, 0, 400, 300}, {}, {{0, 20, 400, 260}}, {0, 0}},
    {"Qt6OnAnotherScreen", "Qt", "6.4.2", {1400, 100, 400, 300}, {}, {{1400, 120, 400, 260}}, {1400, 100}},
    {"Chromium",
     "Chromium",
     "156",
     {0, 0, 432, 342},
     {{0, 0, 432, 342}, {0, 0, 432, 342}},
     {{16, 10, 400, 300}, {374, 10, 32, 40}},
     {16, 10}},
    {"Gecko", "Gecko", "128", {26, 23, 400, 300}, {}, {{26, 23, 400, 40}}, {26, 23}},
    // Nothing in it tells where the window begins: its shadow is as wide on all sides.
    {"NothingTells", "gtk", "3.24.38", {0, 0, 452, 352}, {{0, 0, 452, 352}}, {{0, 0, 452, 352}}, {26, 26}},
};

/// Its application learns late that it is on another screen, and counts from that one's corner from then on.
class WindowThatGoesToAnotherScreen : public SourceFixture {
 protected:
  WindowThatGoesToAnotherScreen() : SourceFixture("Qt", "6.4.2") {
    windows.windows.front().knowsItsPlace = false;
    app.at("frame").rect = {0, 0, 400, 300};
    add("frame", "first", role::pushButton, "First", Rect{10, 20, 50, 20});
    add("frame", "second", role::pushButton, "Second", Rect{70, 20, 50, 20});
  }
  void countFrom(Point corner) {
    const Rect& frame = app.at("frame").rect;
    for (const char* const id : {"first", "second", "frame"}) {
      Rect& rect = app.at(id).rect;
      rect = {rect.x + corner.x - frame.x, rect.y + corner.y - frame.y, rect.width, rect.height};
    }
  }
};

TEST_F(WindowThatGoesToAnotherScreen, isReadAgainWhenThatHappensWhileItIsRead) {
  for (const Point corner : {Point{1400, 100}, Point{0, 0}}) {
    bool isTold = false;
    app.answerInstead([&](sd_bus_message*, const std::string& id, const std::string& member) {
      if (id == "second" && member == "GetExtents" && !std::exchange(isTold, true)) {
        countFrom(corner);
      }
      return false;
    });
    prepare();
    EXPECT_EQ(read("first")->extents, (Rect{110, 70, 50, 20}));
    EXPECT_EQ(read("second")->extents, (Rect{170, 70, 50, 20}));
    app.answerInstead({});
  }
}

TEST_F(WindowThatGoesToAnotherScreen, tellsWhereThingsAreAfterwards) {
  prepare();
  for (const Point corner : {Point{1400, 100}, Point{0, 0}}) {
    countFrom(corner);
    EXPECT_EQ(live().get(app.ref("first"), facts::extents)->extents, (Rect{110, 70, 50, 20}));
  }
}

INSTANTIATE_TEST_SUITE_P(Toolkits, WindowSurfaces, ::testing::ValuesIn(kTold),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace jumplark::atspi
