#include "backends/linux/x11/KeyTracker.h"

#include <xcb/xproto.h>

#include <utility>

namespace jumplark {
namespace {

uint64_t flagsOf(uint8_t modifiers) {
  uint64_t flags = 0;
  flags |= (modifiers & XCB_MOD_MASK_SHIFT) != 0 ? modifier_flag::shift : 0;
  flags |= (modifiers & XCB_MOD_MASK_CONTROL) != 0 ? modifier_flag::control : 0;
  flags |= (modifiers & XCB_MOD_MASK_1) != 0 ? modifier_flag::option : 0;
  flags |= (modifiers & XCB_MOD_MASK_4) != 0 ? modifier_flag::command : 0;
  return flags;
}

}  // namespace

void KeyTracker::reset(const KeyBits& down, uint8_t modifiers, uint8_t group) {
  for (size_t keycode = 0; keycode < down_.size(); ++keycode) {
    down_[keycode] = ((down[keycode / 8] >> (keycode % 8)) & 1U) != 0;
  }
  ownReleases_.fill(0);
  flags_ = flagsOf(modifiers);
  group_ = group;
  lastKeycode_ = 0;
  releasedKeycode_ = 0;
}

std::optional<InputEvent> KeyTracker::key(bool press, uint8_t keycode, uint32_t time) {
  const bool wasDown = down_[keycode];
  const bool repeat = press && (wasDown || (keycode == releasedKeycode_ && time == releasedTime_));
  down_[keycode] = press;
  lastKeycode_ = keycode;
  lastTime_ = time;
  lastWasOwnRelease_ = !press && ownReleases_[keycode] > 0;
  if (!press) {
    releasedKeycode_ = keycode;
    releasedTime_ = time;
  }
  if (lastWasOwnRelease_) {
    --ownReleases_[keycode];
    return std::nullopt;
  }
  if (!press && !wasDown) {
    return std::nullopt;
  }
  const KeyboardMap::Key key = map_ ? map_->key(keycode, group_) : KeyboardMap::Key{key_code::symbolBase, {}, false};
  if (key.isModifier) {
    return std::nullopt;
  }
  return InputEvent{
      press ? event_type::keyDown : event_type::keyUp, key.code, flags_, repeat, key.characters, extended(time)};
}

std::optional<InputEvent> KeyTracker::state(uint8_t modifiers, uint8_t group, uint8_t keycode, uint32_t time) {
  group_ = group;
  const uint64_t flags = flagsOf(modifiers);
  const bool ofLastKey = keycode != 0 && keycode == lastKeycode_;
  if (flags == flags_) {
    return std::nullopt;
  }
  const uint64_t before = std::exchange(flags_, flags);
  if (ofLastKey && lastWasOwnRelease_) {
    return std::nullopt;
  }
  // The notification carries the time at which it was sent, which is late where the keyboard was frozen.
  const int64_t code = keycode != 0 && map_ ? map_->key(keycode, group).code : 0;
  return InputEvent{event_type::flagsChanged, code, flags_, false, {}, extended(ofLastKey ? lastTime_ : time), before};
}

InputEvent KeyTracker::button(bool press, uint32_t time) {
  return {press ? event_type::leftMouseDown : event_type::leftMouseUp, 0, flags_, false, {}, extended(time)};
}

std::chrono::milliseconds KeyTracker::extended(uint32_t time) {
  clock_ += static_cast<int32_t>(time - static_cast<uint32_t>(clock_));
  return std::chrono::milliseconds(clock_);
}

}  // namespace jumplark
