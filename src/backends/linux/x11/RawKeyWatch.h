#pragma once

#include <array>
#include <bitset>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <utility>

#include "backends/linux/x11/X11Connection.h"

namespace jumplark {

/// Watches which keys go down, whoever has grabbed the keyboard, on a connection that itself must hold no grab. Keeps
/// what is down now and when each key was last pressed, nothing else. Used on one thread.
class RawKeyWatch {
 public:
  struct Press {
    uint8_t keycode = 0;
    uint32_t time = 0;       ///< X time
    uint16_t modifiers = 0;  ///< core modifiers in effect before it
    bool operator==(const Press&) const = default;
  };

  /// Begins to watch. Where XInput 2.2 or XKB is missing nothing is ever seen.
  explicit RawKeyWatch(std::shared_ptr<X11Connection> connection);

  /// Takes in what has arrived; does not wait.
  void read();
  /// Takes in everything that happened before this call.
  void synchronise();

  /// The oldest press not yet taken; repeats of a held key are none.
  std::optional<Press> takePress();
  /// The core modifiers in effect now, once after each change of them.
  std::optional<uint16_t> takeModifiers() { return std::exchange(changedModifiers_, std::nullopt); }
  /// False for the repeat of a key that was down already.
  bool isFirstPress(uint8_t keycode, uint32_t time) const;
  /// X time of the last key event.
  uint32_t lastTime() const { return lastTime_; }
  /// True once after a change of the keyboard map.
  bool takeKeyboardChange();

 private:
  void handle(const xcb_generic_event_t& event);
  void handleKey(bool press, uint8_t keycode, uint32_t time);

  std::shared_ptr<X11Connection> x_;
  std::bitset<256> down_;
  std::array<std::optional<uint32_t>, 256> pressed_;
  std::deque<Press> presses_;
  uint16_t modifiers_ = 0;
  std::optional<uint16_t> changedModifiers_;
  uint8_t releasedKeycode_ = 0;
  uint32_t releasedTime_ = 0;
  uint32_t lastTime_ = 0;
  bool keyboardChanged_ = false;
};

}  // namespace jumplark
