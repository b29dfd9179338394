#pragma once

#include <cstdint>

#include "platform/Input.h"

/// Devices of our own on the compositor's seat, by whatever way it offers for that. Calls may come from any thread and
/// return when the compositor has processed what was posted, or half a second later.
namespace jumplark {

/// Make it early: a seat that has no other pointer tells applications of it only after a while, and what is clicked
/// before is lost. A button that is down when this process dies is released.
class SeatPointer {
 public:
  virtual ~SeatPointer() = default;
  /// Moves the pointer to the position, in points of the layout; for the button events then presses or releases the
  /// left button.
  virtual void post(const MouseEvent& event) = 0;
  /// Moves the pointer there, and presses and releases the button that opens menus.
  virtual void clickSecondary(Point place) = 0;
};

class SeatKeyboard {
 public:
  virtual ~SeatKeyboard() = default;
  /// Presses and releases a key without modifiers, by its virtual key code. Does nothing where the keymap has no such
  /// key.
  virtual void typeKey(int64_t keyCode) = 0;
  /// Tells applications that no modifier is held, until the user's keyboard tells otherwise at its next key.
  virtual void releaseModifiers() = 0;
};

}  // namespace jumplark
