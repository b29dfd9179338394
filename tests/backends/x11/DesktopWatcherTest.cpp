#include "backends/linux/x11/DesktopWatcher.h"

#include "backends/x11/X11Fixture.h"

namespace jumplark {
namespace {

using desktop::waitUntil;

class DesktopWatcherTest : public X11Test {
 protected:
  void startWith(desktop::WindowManager windowManager) {
    start({.windowManager = windowManager});
    watcher_ = DesktopWatcher::create(session_->display(), queue_);
    ASSERT_TRUE(watcher_);
  }
  template <typename T>
  bool becomes(const std::vector<T>& told, const std::vector<T>& expected) {
    return queue_.runUntil([&] { return told == expected; });
  }
  std::unique_ptr<DesktopWatcher> watcher_;
};

TEST_F(DesktopWatcherTest, tellsWhichApplicationBecomesActive) {
  startWith(desktop::WindowManager::xfwm4);
  std::vector<int32_t> active;
  const Token token = watcher_->onActiveApplicationChanged([&](int32_t pid) { active.push_back(pid); });
  const WindowClient first(*session_, {10, 50, 200, 100});
  ASSERT_TRUE(session_->activate(first.window()));
  ASSERT_TRUE(becomes(active, {first.pid()}));
  const WindowClient second(*session_, {300, 50, 200, 100});
  ASSERT_TRUE(session_->activate(second.window()));
  ASSERT_TRUE(becomes(active, {first.pid(), second.pid()}));
  ASSERT_TRUE(session_->activate(first.window()));
  EXPECT_TRUE(becomes(active, {first.pid(), second.pid(), first.pid()}));
}

TEST_F(DesktopWatcherTest, tellsWhereButtonsArePressedWhileThatIsAskedFor) {
  startWith(desktop::WindowManager::none);
  std::vector<Point> presses;
  session_->keys({"mousemove", "5", "6", "click", "1"});
  Token token = watcher_->onButtonPress([&](Point at) { presses.push_back(at); });
  // Another client holds the pointer, as an open menu does.
  xcb_grab_pointer(x_->get(), 0, x_->root(), 0, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE,
                   XCB_CURRENT_TIME);
  ASSERT_TRUE(x_->check(xcb_no_operation_checked(x_->get())));
  session_->keys({"mousemove", "70", "80", "click", "1", "click", "4", "mousemove", "11", "12", "click", "3"});
  EXPECT_TRUE(becomes(presses, {{70, 80}, {11, 12}}));
  session_->keys({"click", "1"});
  ASSERT_TRUE(waitUntil([&] { return queue_.size() == 1; }));
  token.reset();
  queue_.runAll();
  EXPECT_EQ(presses.size(), 2U);
}

}  // namespace
}  // namespace jumplark
