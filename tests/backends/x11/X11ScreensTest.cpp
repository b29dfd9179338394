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
  void startWith(std::vector<desktop::PixelRect> monitors) {
    start({.windowManager = WindowManager::none, .width = 1000, .height = 800, .monitors = std::move(monitors)});
    screens_ = std::make_unique<X11Screens>(x_, queue_);
  }
  void TearDown() override {
    screens_.reset();
    X11Test::TearDown();
  }
  ManualQueue queue_;
  std::unique_ptr<X11Screens> screens_;
};

TEST_F(X11ScreensTest, framesCountFromTheLowerLeftCornerOfTheFirst) {
  startWith({{0, 0, 600, 500}, {600, 100, 400, 700}});
  EXPECT_THAT(screens_->frames(), ElementsAre(Rect{0, 0, 600, 500}, Rect{600, -300, 400, 700}));
  session_->keys({"mousemove", "700", "799"});
  EXPECT_EQ(screens_->pointerLocation(), (Point{700, -300})) << "the lowest row of the second";
}

// Whatever stands first, its top has to be the root's first row: top - y - 1 gives back the pixel row.
TEST_F(X11ScreensTest, theFirstFrameBeginsAtTheFirstRow) {
  startWith({{0, 200, 500, 600}, {500, 0, 500, 400}});
  const std::vector<Rect> frames = screens_->frames();
  EXPECT_THAT(frames, ElementsAre(Rect{500, 0, 500, 400}, Rect{0, -400, 500, 600}));
  session_->keys({"mousemove", "3", "250"});
  const Point pointer = screens_->pointerLocation();
  EXPECT_EQ(frames.front().maxY() - pointer.y - 1, 250);
  EXPECT_TRUE(frames[1].contains(pointer));
}

// Panels at the left of the first monitor, at the top of the second and at the bottom of the third, which is the
// shortest, so that below it there is nothing.
TEST_F(X11ScreensTest, workAreasLeaveOutThePanelsOfEachMonitor) {
  start({.width = 1000, .height = 800, .monitors = {{0, 0, 300, 800}, {300, 0, 400, 800}, {700, 0, 300, 600}}});
  screens_ = std::make_unique<X11Screens>(x_, queue_);
  EXPECT_EQ(screens_->workAreas(), screens_->frames());
  const WindowClient left(*session_,
                          {"40x800+0+0", "--title", "a", "--type", "DOCK", "--strut", "40", "0", "0", "0", "0", "799"});
  const WindowClient top(
      *session_, {"400x30+300+0", "--title", "b", "--type", "DOCK", "--strut", "0", "0", "30", "0", "300", "699"});
  const WindowClient bottom(
      *session_, {"300x50+700+550", "--title", "c", "--type", "DOCK", "--strut", "0", "0", "0", "250", "700", "999"});
  const auto expected = std::vector<Rect>{{40, 0, 260, 800}, {300, 0, 400, 770}, {700, 250, 300, 550}};
  EXPECT_TRUE(waitUntil([&] { return screens_->workAreas() == expected; }))
      << testing::PrintToString(screens_->workAreas());
}

TEST_F(X11ScreensTest, theOneMonitorsWorkAreaIsTheWindowManagers) {
  start({.width = 1000, .height = 800});
  screens_ = std::make_unique<X11Screens>(x_, queue_);
  const uint32_t area[] = {10, 20, 900, 700, 10, 20, 900, 700, 10, 20, 900, 700, 10, 20, 900, 700};
  ASSERT_TRUE(x_->check(xcb_change_property_checked(x_->get(), XCB_PROP_MODE_REPLACE, x_->root(),
                                                    x_->atom(Atom::netWorkarea), XCB_ATOM_CARDINAL, 32, 16, area)));
  EXPECT_THAT(screens_->workAreas(), ElementsAre(Rect{10, 80, 900, 700}));
}

TEST_F(X11ScreensTest, changesAreToldOnTheMainQueueUntilTheTokenGoes) {
  startWith({});
  int calls = 0;
  int otherCalls = 0;
  Token token = screens_->onFramesChanged([&] { ++calls; });
  Token other = screens_->onFramesChanged([&] { ++otherCalls; });
  const auto split = [&](const char* name, const char* geometry, const char* output) {
    ASSERT_EQ(session_->run({"xrandr", "--setmonitor", name, geometry, output}).status, 0);
  };
  split("left", "400/100x800/200+0+0", "screen");
  EXPECT_TRUE(waitUntil([&] { return queue_.runAll() > 0; }));
  EXPECT_TRUE(waitUntil([&] {
    queue_.runAll();
    return otherCalls == calls;
  }));
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

TEST_F(X11ScreensTest, aLostServerHasNoScreens) {
  startWith({});
  const Token token = screens_->onFramesChanged([] {});
  session_.reset();
  EXPECT_TRUE(waitUntil([&] { return screens_->frames().empty(); }));
  EXPECT_EQ(screens_->pointerLocation(), Point{});
  EXPECT_EQ(queue_.runAll(), 0U);
  EXPECT_FALSE(X11Screens(x_, queue_).onFramesChanged([] {}));
}

}  // namespace
}  // namespace jumplark
