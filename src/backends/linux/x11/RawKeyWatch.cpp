#include "backends/linux/x11/RawKeyWatch.h"

#include <xcb/xinput.h>

#include <utility>

#include "backends/linux/x11/KeyboardEvents.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/XkbHeader.h"

namespace jumplark {

using x11::takeReply;

RawKeyWatch::RawKeyWatch(std::shared_ptr<X11Connection> connection) : x_(std::move(connection)) {
  if (x_->extensions().xinput < 202 || x_->extensions().xkb == 0) {
    return;
  }
  x11::selectRawEvents(*x_, XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE);
  x11::selectKeyboardEvents(*x_, true);
  const auto stateCookie = xcb_xkb_get_state(x_->get(), XCB_XKB_ID_USE_CORE_KBD);
  const auto keymapCookie = xcb_query_keymap(x_->get());
  const auto state = takeReply(x_->get(), xcb_xkb_get_state_reply, stateCookie);
  const auto keymap = takeReply(x_->get(), xcb_query_keymap_reply, keymapCookie);
  modifiers_ = state ? state->mods : 0;
  for (size_t keycode = 0; keymap && keycode < down_.size(); ++keycode) {
    down_[keycode] = ((keymap->keys[keycode / 8] >> (keycode % 8)) & 1U) != 0;
  }
}

void RawKeyWatch::read() {
  while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(x_->get())}) {
    handle(*event);
  }
}

void RawKeyWatch::synchronise() {
  x_->check(xcb_no_operation_checked(x_->get()));
  read();
}

std::optional<RawKeyWatch::Press> RawKeyWatch::takePress() {
  if (presses_.empty()) {
    return std::nullopt;
  }
  const Press press = presses_.front();
  presses_.pop_front();
  return press;
}

// Repeats that the X server makes itself give no raw event.
bool RawKeyWatch::isFirstPress(uint8_t keycode, uint32_t time) const {
  return pressed_[keycode] == time || !down_[keycode];
}

bool RawKeyWatch::takeKeyboardChange() {
  return std::exchange(keyboardChanged_, false);
}

void RawKeyWatch::handle(const xcb_generic_event_t& event) {
  if (x11::isKeyboardChange(*x_, event)) {
    keyboardChanged_ = true;
  } else if (x11::isInputEvent(*x_, event)) {
    const auto& raw = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
    if (raw.event_type == XCB_INPUT_RAW_KEY_PRESS || raw.event_type == XCB_INPUT_RAW_KEY_RELEASE) {
      handleKey(raw.event_type == XCB_INPUT_RAW_KEY_PRESS, static_cast<uint8_t>(raw.detail), raw.time);
    }
  } else if (x_->extensions().xkb > 0 && (event.response_type & 0x7FU) == x_->extensions().xkbFirstEvent) {
    const uint16_t before = modifiers_;
    modifiers_ = reinterpret_cast<const xcb_xkb_state_notify_event_t&>(event).mods;
    changedModifiers_ = modifiers_ == before ? changedModifiers_ : std::optional(modifiers_);
  }
}

void RawKeyWatch::handleKey(bool press, uint8_t keycode, uint32_t time) {
  // Some devices report a repeat as a release and a press at the same moment.
  const bool repeat = down_[keycode] || (keycode == releasedKeycode_ && time == releasedTime_);
  down_[keycode] = press;
  lastTime_ = time;
  if (!press) {
    releasedKeycode_ = keycode;
    releasedTime_ = time;
  } else if (!repeat) {
    pressed_[keycode] = time;
    presses_.push_back({keycode, time, modifiers_});
  }
}

}  // namespace jumplark
