#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "backends/linux/x11/X11Shortcuts.h"
#include "backends/x11/X11Fixture.h"
#include "platform/Input.h"

namespace jumplark {

inline constexpr Shortcut kShortcut{key_code::space, modifier_flag::command | modifier_flag::shift};
inline constexpr const char* kPress = "super+shift+space";  ///< the same for xdotool

/// A session with a window that has the keyboard, one that stands for the query window, and shortcuts whose handlers
/// run when the test says so.
class ShortcutTest : public X11Test {
 protected:
  void SetUp() override {
    start({.windowManager = desktop::WindowManager::none});
    shortcuts_ = std::make_unique<X11Shortcuts>(
        session_->display(), queue_,
        X11Shortcuts::Hooks{.pressed = [this](uint32_t time) { windows_->noteUserTime(time); }, .willReleaseKey = {}});
    const desktop::Arguments typing = {"200x40+100+200", "--title", "Query", "--override-redirect"};
    typing_ = std::make_unique<WindowClient>(*session_, typing);
    target_ = std::make_unique<WindowClient>(*session_, desktop::Arguments{"200x100+0+0", "--title", "Target"});
    focus(*target_);
  }
  void TearDown() override {
    shortcuts_.reset();
    X11Test::TearDown();
  }
  void focus(const WindowClient& client) {
    EXPECT_TRUE(x_->check(
        xcb_set_input_focus_checked(x_->get(), XCB_INPUT_FOCUS_POINTER_ROOT, client.window(), XCB_CURRENT_TIME)));
  }

  // Registers the shortcut with a handler that counts and gives this answer; with a yes the query window takes the
  // keyboard.
  Token registered(bool answer = false, const Shortcut& shortcut = kShortcut) {
    auto registration = shortcuts_->registerShortcut(shortcut, [this, answer] {
      ++presses_;
      if (answer) {
        focus(*typing_);
        shortcuts_->keyboardArrived();
      }
      return answer;
    });
    EXPECT_EQ(registration.state, ShortcutState::registered);
    return std::move(registration.token);
  }
  // Lets handlers run until so many presses have been handled.
  bool waitForPresses(int count) {
    const auto isHandled = [&] {
      queue_.runAll();
      return presses_ >= count;
    };
    return desktop::waitUntil(isHandled) && presses_ == count;
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
  std::unique_ptr<WindowClient> typing_;
  int presses_ = 0;
};

}  // namespace jumplark
