#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "backends/linux/x11/EventThread.h"
#include "backends/linux/x11/X11Shortcuts.h"
#include "backends/x11/X11Fixture.h"
#include "platform/Input.h"

namespace jumplark {

inline constexpr Shortcut kShortcut{key_code::space, modifier_flag::command | modifier_flag::shift};
inline constexpr const char* kPress = "super+shift+space";  ///< the same for xdotool
inline constexpr uint8_t kSpaceKeycode = 65;

/// Stands for the query window: takes the keyboard when it is shown and tells when it has it.
class TypingWindow {
 public:
  TypingWindow(const std::string& display, std::function<void()> keyboardArrived)
      : x_(X11Connection::open(display).connection), arrived_(std::move(keyboardArrived)) {
    window_ = xcb_generate_id(x_->get());
    const uint32_t events =
        XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_EXPOSURE;
    const uint32_t values[] = {1, events};
    xcb_create_window(x_->get(), XCB_COPY_FROM_PARENT, window_, x_->root(), 100, 100, 200, 40, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK,
                      values);
    thread_.start();
  }
  ~TypingWindow() { thread_.stop(); }

  void show() {
    xcb_map_window(x_->get(), window_);
    xcb_set_input_focus(x_->get(), XCB_INPUT_FOCUS_POINTER_ROOT, window_, XCB_CURRENT_TIME);
    xcb_flush(x_->get());
  }
  void hide(uint32_t nextFocus) {
    xcb_set_input_focus(x_->get(), XCB_INPUT_FOCUS_POINTER_ROOT, nextFocus, XCB_CURRENT_TIME);
    xcb_unmap_window(x_->get(), window_);
    xcb_flush(x_->get());
  }
  std::vector<uint8_t> typed() const {
    const std::lock_guard lock(mutex_);
    return typed_;
  }
  std::vector<uint8_t> takeTyped() {
    const std::lock_guard lock(mutex_);
    return std::exchange(typed_, {});
  }

 private:
  void handle(const xcb_generic_event_t& event) {
    const uint8_t type = event.response_type & 0x7FU;
    if (type == XCB_FOCUS_IN &&
        reinterpret_cast<const xcb_focus_in_event_t&>(event).detail != XCB_NOTIFY_DETAIL_POINTER) {
      arrived_();
    } else if (type == XCB_KEY_PRESS) {
      const std::lock_guard lock(mutex_);
      typed_.push_back(reinterpret_cast<const xcb_key_press_event_t&>(event).detail);
    }
  }

  std::shared_ptr<X11Connection> x_;
  std::function<void()> arrived_;
  xcb_window_t window_ = 0;
  mutable std::mutex mutex_;
  std::vector<uint8_t> typed_;
  EventThread thread_{x_, [this](const xcb_generic_event_t& event) { handle(event); }};
};

/// A session with a window that has the keyboard, and shortcuts whose handlers run when the test says so.
class ShortcutTest : public X11Test {
 protected:
  void SetUp() override {
    start({.windowManager = desktop::WindowManager::none});
    shortcuts_ = std::make_unique<X11Shortcuts>(
        session_->display(), queue_,
        X11Shortcuts::Hooks{.pressed = [this](uint32_t time) { windows_->noteUserTime(time); }, .willReleaseKey = {}});
    target_ = std::make_unique<WindowClient>(*session_, desktop::Arguments{"200x100+0+0", "--title", "Target"});
    typing_ = std::make_unique<TypingWindow>(session_->display(), [this] { shortcuts_->keyboardArrived(); });
    focusTarget();
  }
  void TearDown() override {
    typing_.reset();
    shortcuts_.reset();
    target_.reset();
    X11Test::TearDown();
  }
  void focusTarget() { EXPECT_TRUE(windows_->requestActive(target_->window(), true)); }

  // Registers the shortcut with a handler that counts and gives this answer.
  Token registered(bool answer = false, const Shortcut& shortcut = kShortcut) {
    auto registration = shortcuts_->registerShortcut(shortcut, [this, answer] {
      ++presses_;
      if (answer) {
        typing_->show();
      }
      return answer;
    });
    EXPECT_EQ(registration.state, ShortcutState::registered);
    return std::move(registration.token);
  }
  // Lets handlers run until so many presses have been handled.
  bool waitForPresses(int count) {
    return desktop::waitUntil([&] {
             queue_.runAll();
             return presses_ >= count;
           }) &&
           presses_ == count;
  }
  bool waitForEnd(ShortcutHandOver::End end) {
    return desktop::waitUntil([&] { return shortcuts_->lastHandOver().end != ShortcutHandOver::End::pending; }) &&
           shortcuts_->lastHandOver().end == end;
  }
  // The target's last event is the release of this key.
  bool targetHasSeen(int keycode) {
    return desktop::waitUntil([&] {
      const auto releases = target_->lines("keyrelease");
      return !releases.empty() && releases.back().starts_with("keyrelease " + std::to_string(keycode) + " ");
    });
  }

  ManualQueue queue_;
  std::unique_ptr<X11Shortcuts> shortcuts_;
  std::unique_ptr<WindowClient> target_;
  std::unique_ptr<TypingWindow> typing_;
  int presses_ = 0;
};

}  // namespace jumplark
