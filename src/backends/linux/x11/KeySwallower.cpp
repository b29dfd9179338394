#include "backends/linux/x11/KeySwallower.h"

#include <algorithm>

namespace jumplark {

KeySwallower::KeySwallower(std::shared_ptr<X11Connection> connection)
    : x_(std::move(connection)), thread_(x_, [x = x_](const xcb_generic_event_t& event) {
        if ((event.response_type & 0x7F) == XCB_KEY_PRESS) {
          xcb_ungrab_keyboard(x->get(), reinterpret_cast<const xcb_key_press_event_t&>(event).time);
          xcb_flush(x->get());
        }
      }) {
  thread_.start();
}

KeySwallower::~KeySwallower() {
  setCombinations({});
}

void KeySwallower::setCombinations(std::vector<Combination> combinations) {
  std::ranges::sort(combinations);
  std::vector<xcb_void_cookie_t> cookies;
  for (const auto& [keycode, modifiers] : combinations_) {
    if (!std::ranges::binary_search(combinations, Combination{keycode, modifiers})) {
      cookies.push_back(xcb_ungrab_key_checked(x_->get(), keycode, x_->root(), modifiers));
    }
  }
  for (const auto& [keycode, modifiers] : combinations) {
    if (!std::ranges::binary_search(combinations_, Combination{keycode, modifiers})) {
      cookies.push_back(
          xcb_grab_key_checked(x_->get(), 0, x_->root(), modifiers, keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
  }
  for (const auto& cookie : cookies) {
    x_->check(cookie);
  }
  combinations_ = std::move(combinations);
  thread_.wake();
}

}  // namespace jumplark
