#include "backends/linux/x11/X11WindowSystem.h"

#include <gmock/gmock.h>

#include <algorithm>

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
  testing::AssertionResult becomesOrder(const std::vector<uint32_t>& frontToBack) {
    const auto now = [&] { return idsOf(windows_->windowsFrontToBack()); };
    return waitUntil([&] { return now() == frontToBack; })
               ? testing::AssertionSuccess()
               : testing::AssertionFailure() << testing::PrintToString(now());
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
  const WindowClient first(*session_, {"200x100+50+60", "--title", "First"});
  const WindowClient second(*session_, {"200x100+90+90", "--title", "Second"});
  const WindowClient third(*session_, {"200x100+400+300", "--title", "Third"});
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
  const WindowClient client(*session_, {"300x200+150+120", "--title", "White"});
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
                         [](const auto& info) { return nameOf(info.param); });

TEST_F(X11WindowSystemTest, readsEveryFactOfAWindow) {
  start();
  const WindowClient main(*session_, {"300x200+10+10", "--title", "Grüße – ✓", "--class", "instance", "Class",
                                      "--property", "_GTK_APPLICATION_ID", "UTF8_STRING", "org.example.App",
                                      "--property", "_GTK_FRAME_EXTENTS", "CARDINAL", "26,27,23,29"});
  const std::string latin1 = "Gr\xFC\xDF\145";
  const WindowClient dialog(*session_, {"100x80+50+50", "--no-pid", "--property", "WM_NAME", "STRING", latin1,
                                        "--property", "_NET_WM_STATE", "ATOM", "_NET_WM_STATE_MODAL", "--property",
                                        "WM_TRANSIENT_FOR", "WINDOW", std::to_string(main.window())});
  const auto facts = windows_->window(main.window());
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->title, "Grüße – ✓");
  EXPECT_EQ(facts->instanceName, "instance");
  EXPECT_EQ(facts->className, "Class");
  EXPECT_EQ(facts->applicationId, "org.example.App");
  EXPECT_EQ(facts->pid, main.pid());
  EXPECT_EQ(facts->connectionPid, main.pid());
  EXPECT_EQ(facts->type, WindowType::normal);
  EXPECT_TRUE(facts->tellsShadow);
  EXPECT_EQ(facts->shadow.left, 26);
  EXPECT_EQ(facts->shadow.right, 27);
  EXPECT_EQ(facts->shadow.top, 23);
  EXPECT_EQ(facts->shadow.bottom, 29);
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
  const WindowClient below(*session_, {"400x300+100+100", "--title", "Below"});
  const WindowClient above(*session_, {"200x150+150+150", "--title", "Above"});
  ASSERT_TRUE(becomesActive(above));
  const Rect top = windows_->window(above.window())->surface;
  const Rect bottom = windows_->window(below.window())->surface;
  EXPECT_EQ(idAt(top.midX(), top.midY()), above.window());
  EXPECT_EQ(idAt(bottom.maxX() - 5, bottom.maxY() - 5), below.window());
  EXPECT_EQ(idAt(5, 890), 0U) << "only the root";

  // A menu over both; its lower half lets clicks through.
  const WindowClient menu(*session_, {"120x100+160+160", "--override-redirect", "--title", "Menu", "--type",
                                      "POPUP_MENU", "--input", "0", "0", "120", "50"});
  EXPECT_EQ(idAt(200, 180), menu.window());
  EXPECT_EQ(idAt(200, 230), idAt(200, 262)) << "through the input shape";
  EXPECT_EQ(idsOf(windows_->popupsFrontToBack()), std::vector<uint32_t>{menu.window()});

  const WindowClient shaped(
      *session_, {"100x100+160+160", "--override-redirect", "--title", "Shaped", "--bounding", "50", "0", "50", "100"});
  EXPECT_EQ(idAt(170, 170), menu.window()) << "beside the bounding shape";
  EXPECT_EQ(idAt(215, 170), shaped.window());
  EXPECT_THAT(idsOf(windows_->popupsFrontToBack()), ElementsAre(shaped.window(), menu.window()));
}

TEST_F(X11WindowSystemTest, windowsThatVanishMeanwhileAreLeftOut) {
  start({.windowManager = WindowManager::none});
  const WindowClient steady(*session_, {"300x300+0+0", "--title", "Steady"});
  const WindowClient churning(*session_, {"80x80+500+500", "--title", "Churning", "--churn"});
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
  const WindowClient client(*session_, {"200x200+100+100", "--title", "Client"});
  ASSERT_TRUE(becomesActive(client));
  manager.kill(SIGKILL);
  const WindowClient later(*session_, {"200x200+400+100", "--title", "Later"});
  EXPECT_TRUE(becomesOrder({later.window(), client.window()}));
}

}  // namespace
}  // namespace jumplark
