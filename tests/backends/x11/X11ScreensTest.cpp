#include "backends/linux/x11/X11Screens.h"

#include <gmock/gmock.h>

#include "backends/x11/X11Fixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using desktop::WindowManager;
using testing::ElementsAre;

class X11ScreensTest : public X11Test {
 protected:
  void startWith(const desktop::SessionOptions& options) {
    screens_.reset();
    start(options);
    screens_ = std::make_unique<X11Screens>(x_, queue_);
  }
  std::unique_ptr<X11Screens> screens_;
};

// Whatever stands first, its top has to be the root's first row: top - y - 1 gives back the pixel row.
TEST_F(X11ScreensTest, framesCountFromTheLowerLeftCornerOfTheFirstAtTheFirstRow) {
  const struct {
    std::vector<desktop::PixelRect> monitors;
    std::vector<Rect> frames;
    int x, y;  ///< of the pointer, in pixels
    Point pointer;
  } cases[] = {
      {{{0, 0, 600, 500}, {600, 100, 400, 700}}, {{0, 0, 600, 500}, {600, -300, 400, 700}}, 700, 799, {700, -300}},
      {{{0, 200, 500, 600}, {500, 0, 500, 400}}, {{500, 0, 500, 400}, {0, -400, 500, 600}}, 3, 250, {3, 149}}};
  for (const auto& [monitors, frames, x, y, pointer] : cases) {
    startWith({.windowManager = WindowManager::none, .width = 1000, .height = 800, .monitors = monitors});
    EXPECT_EQ(screens_->frames(), frames);
    session_->keys({"mousemove", std::to_string(x), std::to_string(y)});
    EXPECT_EQ(screens_->pointerLocation(), pointer);
    EXPECT_TRUE(screens_->frames()[1].contains(pointer));
  }
}

// Panels at the left of the first monitor, at the top of the second and at the bottom of the third, which is the
// shortest, so that below it there is nothing.
TEST_F(X11ScreensTest, workAreasLeaveOutThePanelsOfEachMonitor) {
  startWith({.width = 1000, .height = 800, .monitors = {{0, 0, 300, 800}, {300, 0, 400, 800}, {700, 0, 300, 600}}});
  EXPECT_EQ(screens_->workAreas(), screens_->frames());
  std::vector<std::unique_ptr<WindowClient>> panels;
  for (const auto& [rect, strut] : {std::pair(desktop::PixelRect{0, 0, 40, 800}, "40,0,0,0,0,799,0,0,0,0,0,0"),
                                    {{300, 0, 400, 30}, "0,0,30,0,0,0,0,0,300,699,0,0"},
                                    {{700, 550, 300, 50}, "0,0,0,250,0,0,0,0,0,0,700,999"}}) {
    const std::vector<WindowProperty> properties = {typeProperty("DOCK"), {"_NET_WM_STRUT_PARTIAL", "CARDINAL", strut}};
    panels.push_back(std::make_unique<WindowClient>(*session_, rect, WindowClient::managed, properties));
  }
  const auto expected = std::vector<Rect>{{40, 0, 260, 800}, {300, 0, 400, 770}, {700, 250, 300, 550}};
  EXPECT_TRUE(waitUntil([&] { return screens_->workAreas() == expected; }))
      << testing::PrintToString(screens_->workAreas());
}

TEST_F(X11ScreensTest, theOneMonitorsWorkAreaIsTheWindowManagers) {
  startWith({.width = 1000, .height = 800});
  const uint32_t area[] = {10, 20, 900, 700, 10, 20, 900, 700, 10, 20, 900, 700, 10, 20, 900, 700};
  ASSERT_TRUE(x_->check(xcb_change_property_checked(x_->get(), XCB_PROP_MODE_REPLACE, x_->root(),
                                                    x_->atom(Atom::netWorkarea), XCB_ATOM_CARDINAL, 32, 16, area)));
  EXPECT_THAT(screens_->workAreas(), ElementsAre(Rect{10, 80, 900, 700}));
}

TEST_F(X11ScreensTest, changesAreToldOnTheMainQueueUntilTheTokenGoes) {
  startWith({.windowManager = WindowManager::none, .width = 1000, .height = 800});
  int calls = 0;
  int otherCalls = 0;
  Token token = screens_->onFramesChanged([&] { ++calls; });
  Token other = screens_->onFramesChanged([&] { ++otherCalls; });
  const auto split = [&](const char* name, const char* geometry, const char* output) {
    ASSERT_EQ(session_->run({"xrandr", "--setmonitor", name, geometry, output}).status, 0);
  };
  split("left", "400/100x800/200+0+0", "screen");
  EXPECT_TRUE(queue_.runUntil([&] { return calls > 0 && otherCalls == calls; }));
  EXPECT_EQ(calls, 1);
  EXPECT_THAT(screens_->frames(), ElementsAre(Rect{0, 0, 400, 800}));

  // Already posted when the token goes.
  split("right", "600/150x800/200+400+0", "none");
  ASSERT_TRUE(waitUntil([&] { return screens_->frames().size() == 2; }));
  ASSERT_TRUE(waitUntil([&] { return queue_.size() == 2; }));
  token.reset();
  queue_.runAll();
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(otherCalls, 2);
}

}  // namespace
}  // namespace jumplark
