#include "backends/linux/x11/X11WindowSystem.h"

#include <gmock/gmock.h>
#include <xcb/shape.h>

#include <thread>

#include "backends/x11/X11Fixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;
using desktop::WindowManager;
using testing::Contains;
using testing::ElementsAre;

std::vector<uint32_t> idsOf(const std::vector<WindowFacts>& windows) {
  std::vector<uint32_t> result;
  for (const WindowFacts& window : windows) {
    result.push_back(static_cast<uint32_t>(window.id.low));
  }
  return result;
}

class X11WindowSystemTest : public X11Test {
 protected:
  bool becomesActive(const WindowClient& client) {
    return waitUntil([&] { return windows_->activeWindow() == client.window(); });
  }
  bool becomesOrder(const std::vector<uint32_t>& frontToBack) {
    return waitUntil([&] { return idsOf(windows_->windowsFrontToBack()) == frontToBack; });
  }
  void shape(const WindowClient& client, xcb_shape_sk_t kind, const xcb_rectangle_t& part) {
    ASSERT_TRUE(x_->check(xcb_shape_rectangles_checked(x_->get(), XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_UNSORTED,
                                                       client.window(), 0, 0, 1, &part)));
  }
  // What topmostWindowAt answers, 0 for none.
  uint32_t idAt(double x, double y) {
    const auto window = windows_->topmostWindowAt({x, y});
    return window ? static_cast<uint32_t>(window->id.low) : 0;
  }
};

class X11EveryWindowManagerTest : public X11WindowSystemTest, public testing::WithParamInterface<WindowManager> {};

TEST_P(X11EveryWindowManagerTest, listsWindowsFrontToBackAndActivatesTheOneAskedFor) {
  start({.windowManager = GetParam()});
  const WindowClient first(*session_, {50, 60, 200, 100});
  const WindowClient second(*session_, {90, 90, 200, 100});
  const WindowClient third(*session_, {400, 300, 200, 100});
  EXPECT_THAT(idsOf(windows_->popupsFrontToBack()), testing::IsEmpty());
  EXPECT_TRUE(becomesOrder({third.window(), second.window(), first.window()}));
  EXPECT_TRUE(windows_->requestActive(first.window(), true));
  EXPECT_TRUE(becomesOrder({first.window(), third.window(), second.window()}));
  if (GetParam() != WindowManager::none) {
    EXPECT_TRUE(becomesActive(first));
    EXPECT_TRUE(windows_->requestActive(first.window(), false));
  }
  EXPECT_FALSE(windows_->requestActive(0x7654321, true));
}

TEST_P(X11EveryWindowManagerTest, tellsWhereTheClientsPixelsReallyAre) {
  start({.windowManager = GetParam()});
  const WindowClient client(*session_, {150, 120, 300, 200});
  const auto isWhite = [&](double x, double y) {
    return session_->pixel(static_cast<int>(x), static_cast<int>(y)) == 0xFFFFFF;
  };
  const auto facts = [&] { return windows_->window(client.window()).value_or(WindowFacts()); };
  ASSERT_TRUE(waitUntil([&] { return isWhite(facts().surface.x, facts().surface.y); }));
  const Rect c = facts().surface;
  EXPECT_EQ((Size{c.width, c.height}), (Size{300, 200}));
  EXPECT_TRUE(isWhite(c.maxX() - 1, c.maxY() - 1));
  for (const auto& [x, y] : {std::pair(c.x - 1, c.midY()), {c.maxX(), c.midY()}, {c.midX(), c.maxY()}}) {
    EXPECT_FALSE(isWhite(x, y)) << x << ' ' << y;
  }
  const Rect frame = facts().frame;
  EXPECT_EQ(frame.y < c.y, GetParam() != WindowManager::none);
  EXPECT_GE(frame.maxY(), c.maxY());
  EXPECT_EQ(idAt(c.x, c.y), client.window());
  EXPECT_EQ(idAt(frame.midX(), frame.y + 2), client.window()) << "the title bar belongs to the client";
}

INSTANTIATE_TEST_SUITE_P(Managers, X11EveryWindowManagerTest,
                         testing::Values(WindowManager::xfwm4, WindowManager::xfwm4Compositor, WindowManager::openbox,
                                         WindowManager::none),
                         byWindowManager);

TEST_F(X11WindowSystemTest, readsEveryFactOfAWindow) {
  start();
  const WindowClient main(*session_, {10, 10, 300, 200}, WindowClient::managed,
                          {{"_NET_WM_NAME", "UTF8_STRING", "Grüße – ✓"},
                           classProperty("instance", "Class"),
                           {"_NET_WM_PID", "CARDINAL", "4711"},
                           {"_GTK_APPLICATION_ID", "UTF8_STRING", "org.example.App"},
                           {"_GTK_FRAME_EXTENTS", "CARDINAL", "26,27,23,29"}});
  const WindowClient dialog(*session_, {50, 50, 100, 80}, WindowClient::managed,
                            {{"WM_NAME", "STRING", "Gr\xFC\xDF\145"},
                             {"_NET_WM_STATE", "ATOM", "_NET_WM_STATE_MODAL"},
                             {"WM_TRANSIENT_FOR", "WINDOW", std::to_string(main.window())}});
  const auto facts = windows_->window(main.window());
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->title, "Grüße – ✓");
  EXPECT_EQ(facts->instanceName, "instance");
  EXPECT_EQ(facts->className, "Class");
  EXPECT_EQ(facts->applicationId, "org.example.App");
  EXPECT_EQ(facts->pid, 4711) << "what the window says";
  EXPECT_EQ(facts->connectionPid, main.pid());
  EXPECT_EQ(facts->type, WindowType::normal);
  EXPECT_TRUE(facts->tellsShadow);
  const Insets& shadow = facts->shadow;
  EXPECT_EQ((std::vector{shadow.left, shadow.right, shadow.top, shadow.bottom}), (std::vector<double>{26, 27, 23, 29}));
  EXPECT_FALSE(facts->modal || facts->hidden || facts->isPopup || facts->transientFor);

  const auto second = windows_->window(dialog.window());
  ASSERT_TRUE(second);
  EXPECT_EQ(second->title, "Grüße");
  EXPECT_EQ(second->pid, dialog.pid()) << "the X server knows the process that the property leaves out";
  EXPECT_EQ(second->type, WindowType::dialog) << "a transient window without a type";
  EXPECT_EQ(second->transientFor, main.window());
  EXPECT_TRUE(second->modal);
  EXPECT_FALSE(second->tellsShadow);
}

TEST_F(X11WindowSystemTest, findsTheTopmostWindowThatTakesTheClick) {
  start({.windowManager = WindowManager::openbox});
  const WindowClient below(*session_, {100, 100, 400, 300});
  const WindowClient above(*session_, {150, 150, 200, 150});
  ASSERT_TRUE(becomesActive(above));
  const Rect top = windows_->window(above.window())->surface;
  const Rect bottom = windows_->window(below.window())->surface;
  EXPECT_EQ(idAt(top.midX(), top.midY()), above.window());
  EXPECT_EQ(idAt(bottom.maxX() - 5, bottom.maxY() - 5), below.window());
  EXPECT_EQ(idAt(5, 890), 0U) << "only the root";

  // A menu over both; its lower half lets clicks through.
  const WindowClient menu(*session_, {160, 160, 120, 100}, WindowClient::overrideRedirect,
                          {typeProperty("POPUP_MENU")});
  shape(menu, XCB_SHAPE_SK_INPUT, {0, 0, 120, 50});
  EXPECT_EQ(idAt(200, 180), menu.window());
  EXPECT_EQ(idAt(200, 230), idAt(200, 262)) << "through the input shape";
  EXPECT_EQ(idsOf(windows_->popupsFrontToBack()), std::vector<uint32_t>{menu.window()});

  const WindowClient shaped(*session_, {160, 160, 100, 100}, WindowClient::overrideRedirect);
  shape(shaped, XCB_SHAPE_SK_BOUNDING, {50, 0, 50, 100});
  EXPECT_EQ(idAt(170, 170), menu.window()) << "beside the bounding shape";
  EXPECT_EQ(idAt(215, 170), shaped.window());
  EXPECT_THAT(idsOf(windows_->popupsFrontToBack()), ElementsAre(shaped.window(), menu.window()));
}

TEST_F(X11WindowSystemTest, windowsThatVanishMeanwhileAreLeftOut) {
  start({.windowManager = WindowManager::none});
  const WindowClient steady(*session_, {0, 0, 300, 300});
  std::jthread churning([this](const std::stop_token& stop) {
    const auto x = X11Connection::open(session_->display()).connection;
    while (!stop.stop_requested()) {
      xcb_destroy_window(x->get(), showWindow(*x, 5, 5, 50));
    }
  });
  for (int i = 0; i < 300; ++i) {
    EXPECT_THAT(idsOf(windows_->windowsFrontToBack()), Contains(steady.window()));
    EXPECT_TRUE(windows_->topmostWindowAt({250, 250}));
    windows_->popupsFrontToBack();
    windows_->topmostWindowAt({20, 20});
  }
}

TEST_F(X11WindowSystemTest, theListOfAWindowManagerThatDiedIsNotTrusted) {
  start({.windowManager = WindowManager::none});
  desktop::Process& manager = session_->start({"openbox"});
  waitUntilWindowsAreManaged();
  const WindowClient client(*session_, {100, 100, 200, 200});
  ASSERT_TRUE(becomesActive(client));
  manager.kill(SIGKILL);
  const WindowClient later(*session_, {400, 100, 200, 200});
  EXPECT_TRUE(becomesOrder({later.window(), client.window()}));
}

}  // namespace
}  // namespace jumplark
