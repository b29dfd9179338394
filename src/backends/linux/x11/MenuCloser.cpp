#include "backends/linux/x11/MenuCloser.h"

#include <xcb/xtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "backends/linux/x11/HeldModifiers.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/WindowTree.h"

namespace jumplark {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kMostLevels = 8;
/// A client that does nothing about Escape for so long is busy, or is no menu: a further Escape might reach a window.
constexpr milliseconds kLevelPatience{200};
/// Who has told what is in its menu a moment ago closes a level at once, also where nobody can see it.
constexpr milliseconds kUnseenLevelPatience{100};
/// The last level is taken off the screen shortly before the grab ends.
constexpr milliseconds kUngrabPatience{20};
constexpr milliseconds kBetweenAttempts{1};

}  // namespace

bool MenuCloser::takeKeyboard(uint8_t escape, const std::atomic<bool>& stopping) {
  grabbed_ = grab();
  if (grabbed_ || escape == 0 || x_->extensions().xtest == 0) {
    return grabbed_;
  }
  bool lieInWindow = false;
  if (willClose_) {
    lieInWindow = willClose_(true);
    // Without a menu Escape would go to a window.
    grabbed_ = grab();
  }
  if (!grabbed_) {
    releaseModifiers();
  }
  for (int level = 0; level < kMostLevels && !grabbed_ && !stopping && x_->alive(); ++level) {
    const size_t open = openLevels();
    type(escape);
    if (!closesLevel(open, !lieInWindow, stopping)) {
      break;
    }
  }
  return grabbed_;
}

bool MenuCloser::grab() {
  const auto reply = x11::takeReply(
      x_->get(), xcb_grab_keyboard_reply,
      xcb_grab_keyboard(x_->get(), 0, x_->root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_SYNC));
  return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

// True when a further Escape is due: one level has gone, or went in time if that cannot be seen, and the keyboard is
// not free yet.
bool MenuCloser::closesLevel(size_t open, bool canBeSeen, const std::atomic<bool>& stopping) {
  Clock::time_point deadline = Clock::now() + (canBeSeen ? kLevelPatience : kUnseenLevelPatience);
  bool closed = false;
  while (!stopping && x_->alive() && Clock::now() < deadline) {
    grabbed_ = grab();
    if (grabbed_) {
      return false;
    }
    if (!closed && openLevels() < open) {
      closed = true;
      deadline = Clock::now() + kUngrabPatience;
    }
    std::this_thread::sleep_for(kBetweenAttempts);
  }
  return closed || !canBeSeen;
}

size_t MenuCloser::openLevels() const {
  const auto windows = x11::viewableTopLevels(*x_);
  return static_cast<size_t>(std::ranges::count_if(windows, &x11::TopLevel::overrideRedirect));
}

void MenuCloser::releaseModifiers() {
  for (const uint8_t keycode : x11::heldModifierKeys(*x_)) {
    if (willReleaseKey_) {
      willReleaseKey_(keycode);
    }
    xcb_test_fake_input(x_->get(), XCB_KEY_RELEASE, keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
  }
}

void MenuCloser::type(uint8_t keycode) {
  xcb_test_fake_input(x_->get(), XCB_KEY_PRESS, keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
  xcb_test_fake_input(x_->get(), XCB_KEY_RELEASE, keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
  x_->check(xcb_no_operation_checked(x_->get()));
}

}  // namespace jumplark
