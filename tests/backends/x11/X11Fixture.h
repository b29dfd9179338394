#pragma once

#include <gtest/gtest.h>

#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/X11WindowSystem.h"
#include "backends/x11/WindowClient.h"
#include "platform/Queues.h"

namespace jumplark {

/// A queue whose tasks run when the test says so, on its thread.
class ManualQueue final : public TaskQueue {
 public:
  const std::string& name() const override { return name_; }
  void post(Task task) override {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  void postAfter(Duration, Task task) override { post(std::move(task)); }
  bool isCurrent() const override { return false; }
  size_t size() const {
    const std::lock_guard lock(mutex_);
    return tasks_.size();
  }
  /// Runs what has been posted; how many tasks that were.
  size_t runAll();
  /// Runs what is posted until the state is there; false when it does not come.
  bool runUntil(const std::function<bool()>& state) {
    return desktop::waitUntil([&] {
      runAll();
      return state();
    });
  }

 private:
  std::string name_ = "main";
  mutable std::mutex mutex_;
  std::vector<Task> tasks_;
};

/// Names cases by the window manager that they are given.
inline std::string byWindowManager(const ::testing::TestParamInfo<desktop::WindowManager>& info) {
  constexpr const char* kNames[] = {"xfwm4", "xfwm4Compositor", "openbox", "openboxPicom", "none", "sway"};
  return kNames[static_cast<size_t>(info.param)];
}

/// A window on the screen, made by this process.
inline xcb_window_t showWindow(const X11Connection& x, int16_t left, int16_t top, uint16_t size) {
  const xcb_window_t window = xcb_generate_id(x.get());
  xcb_create_window(x.get(), XCB_COPY_FROM_PARENT, window, x.root(), left, top, size, size, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
  x.check(xcb_map_window_checked(x.get(), window));
  return window;
}

/// A session without accessibility, and the window system of this process in it.
class X11Test : public ::testing::Test {
 protected:
  /// Not started yet.
  X11Test() = default;
  explicit X11Test(desktop::WindowManager windowManager) { start({.windowManager = windowManager}); }
  void start(desktop::SessionOptions options = {});
  /// Returns when the window manager has taken a window into its care. One that has just started says that it is there
  /// before it sees every request to map a window.
  void waitUntilWindowsAreManaged();
  /// Pressing a key that is down repeats it; left alone it does not, for longer than any test takes.
  void letKeysRepeat() { ASSERT_EQ(session_->run({"xset", "r", "on", "r", "rate", "60000", "1"}).status, 0); }
  /// Takes the keyboard from everybody else, as an open menu does.
  bool grabKeyboard() const {
    const auto reply = x11::takeReply(
        x_->get(), xcb_grab_keyboard_reply,
        xcb_grab_keyboard(x_->get(), 0, x_->root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
  }
  bool giveKeyboardBack() const { return x_->check(xcb_ungrab_keyboard_checked(x_->get(), XCB_CURRENT_TIME)); }
  /// True once nobody holds the keyboard.
  bool keyboardIsFree() const {
    return desktop::waitUntil([&] { return session_->keyboardIsFree(); });
  }
  /// True once nobody holds a key or a button.
  bool nothingIsHeld() const {
    return desktop::waitUntil([&] { return session_->heldInput().empty(); });
  }

  std::unique_ptr<desktop::PrivateSession> session_;
  std::shared_ptr<X11Connection> x_;
  std::unique_ptr<X11WindowSystem> windows_;
  ManualQueue queue_;
};

}  // namespace jumplark
