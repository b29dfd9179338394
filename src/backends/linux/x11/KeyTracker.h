#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <memory>
#include <optional>

#include "backends/linux/x11/KeyboardMap.h"
#include "platform/Input.h"

namespace jumplark {

/// Makes keyboard events out of what the X server reports in two streams: raw keys with the time at which they
/// happened, and, after a key that changed it, the state of the modifiers and the group. Asks nobody; not safe for
/// several threads at once.
class KeyTracker {
 public:
  using KeyBits = std::array<uint8_t, 32>;  ///< one bit a keycode, as QueryKeymap answers

  void setMap(std::shared_ptr<const KeyboardMap> map) { map_ = std::move(map); }
  const KeyboardMap* map() const { return map_.get(); }

  /// Starts anew from the keys that are down, the modifiers in effect and the group.
  void reset(const KeyBits& down, uint8_t modifiers, uint8_t group);

  /// A raw press or release. None for modifier keys, whose event is the change of state; for a second release of a key;
  /// and for a release that we made ourselves. A press of a key that is down already, or that went up in the very
  /// moment of the press, is a repeat: some devices send repeats as both.
  std::optional<InputEvent> key(bool press, uint8_t keycode, uint32_t time);
  /// A change of state; `keycode` is the key that made it, 0 when none did. None when no flag changes.
  std::optional<InputEvent> state(uint8_t modifiers, uint8_t group, uint8_t keycode, uint32_t time);

  /// A press or release of the left button.
  InputEvent button(bool press, uint32_t time);

  /// The next release of this key is our own doing: it changes the state without an event.
  void expectOwnRelease(uint8_t keycode) { ++ownReleases_[keycode]; }

 private:
  std::chrono::milliseconds extended(uint32_t time);

  std::shared_ptr<const KeyboardMap> map_;
  std::bitset<256> down_;
  std::array<uint8_t, 256> ownReleases_{};
  uint64_t flags_ = 0;
  uint8_t group_ = 0;

  uint8_t lastKeycode_ = 0;  ///< of the last raw event
  uint32_t lastTime_ = 0;
  bool lastWasOwnRelease_ = false;
  uint8_t releasedKeycode_ = 0;  ///< of the last release
  uint32_t releasedTime_ = 0;
  int64_t clock_ = 0;  ///< X time without its wrap-around every 49.7 days
};

}  // namespace jumplark
