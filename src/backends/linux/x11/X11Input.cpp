#include "backends/linux/x11/X11Input.h"

#include <xcb/xtest.h>

#include <atomic>
#include <utility>

#include "backends/linux/x11/KeyboardMap.h"
#include "backends/linux/x11/MenuCloser.h"
#include "backends/linux/x11/Reply.h"

namespace jumplark {

X11Input::X11Input(std::shared_ptr<X11Connection> connection)
    : x_(std::move(connection)), pointer_(x_, [this](uint8_t keycode) { expectOwnRelease(keycode); }) {}

X11Input::~X11Input() {
  if (const auto taps = this->taps()) {
    taps->stop();
  }
}

std::shared_ptr<X11EventTaps> X11Input::taps() {
  const std::lock_guard lock(mutex_);
  return taps_;
}

std::unique_ptr<EventTapHandle> X11Input::createEventTap(const EventTapConfiguration& configuration,
                                                         EventTapCallback callback) {
  std::unique_lock lock(mutex_);
  if (!taps_) {
    taps_ = X11EventTaps::create(x_->displayName());
  }
  const auto taps = taps_;
  lock.unlock();
  return taps ? taps->add(configuration, std::move(callback)) : nullptr;
}

void X11Input::postMouseEvent(const MouseEvent& event, uint32_t /*location*/) {
  pointer_.post(event);
}

void X11Input::typeKey(int64_t keyCode) {
  const auto map = x_->extensions().xtest > 0 ? KeyboardMap::read(*x_) : nullptr;
  const auto keys = map ? map->keycodesFor(keyCode) : std::vector<uint8_t>();
  if (!keys.empty()) {
    for (const uint8_t type : {XCB_KEY_PRESS, XCB_KEY_RELEASE}) {
      xcb_test_fake_input(x_->get(), type, keys.front(), XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    }
    x_->check(xcb_no_operation_checked(x_->get()));
  }
}

void X11Input::closeMenus() {
  const auto map = KeyboardMap::read(*x_);
  const auto escapes = map ? map->keycodesFor(key_code::escape) : std::vector<uint8_t>();
  MenuCloser closer(x_, [this](uint8_t keycode) { expectOwnRelease(keycode); }, {});
  const std::atomic<bool> stopping{false};
  if (closer.takeKeyboard(escapes.empty() ? 0 : escapes.front(), stopping)) {
    x_->check(xcb_ungrab_keyboard_checked(x_->get(), XCB_CURRENT_TIME));
  }
}

std::optional<Point> X11Input::pointer() const {
  const auto told = x11::takeReply(x_->get(), xcb_query_pointer_reply, xcb_query_pointer(x_->get(), x_->root()));
  return told ? std::optional(Point{double(told->root_x), double(told->root_y)}) : std::nullopt;
}

void X11Input::expectOwnRelease(uint8_t keycode) {
  if (const auto taps = this->taps()) {
    taps->expectOwnRelease(keycode);
  }
}

void X11Input::beep() {
  xcb_bell(x_->get(), 0);
  xcb_flush(x_->get());
}

}  // namespace jumplark
