#pragma once

#include <optional>

#include "platform/Input.h"

namespace jumplark {

/// The input devices of a live desktop, with what commands of menus need besides. Calls may come from any thread.
class DesktopInput : public InputPlatform {
 public:
  /// Presses and releases a key, by its virtual key code, as if the user did. Does nothing where the keyboard has no
  /// such key.
  virtual void typeKey(int64_t keyCode) = 0;
  /// Closes the menus that have the keyboard, level by level. Waits for them.
  virtual void closeMenus() = 0;
  /// Clicks with the button that opens menus, at a point with a top-left origin. Modifiers that are held do not colour
  /// it.
  virtual void clickSecondary(Point place) = 0;
  /// Where the pointer is, with a top-left origin; none when that cannot be known.
  virtual std::optional<Point> pointer() const = 0;
};

}  // namespace jumplark
