#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "backends/linux/x11/ButtonGuard.h"
#include "backends/linux/x11/HeldModifiers.h"
#include "backends/linux/x11/X11Connection.h"
#include "platform/Input.h"

namespace jumplark {

/// Posts pointer events through the XTEST extension. Does nothing where the extension is missing. Calls may come from
/// any thread and return when the X server has processed the event.
class PointerPoster {
 public:
  using KeycodeCallback = std::function<void(uint8_t keycode)>;

  /// `willReleaseKey` is called before each key release that is posted, so that a tap can tell it from the user's.
  PointerPoster(std::shared_ptr<X11Connection> connection, KeycodeCallback willReleaseKey = {});
  PointerPoster(const PointerPoster&) = delete;
  PointerPoster& operator=(const PointerPoster&) = delete;
  ~PointerPoster();

  /// Moves the pointer to the position; for the button events then presses or releases the left button. Toolkits count
  /// the clicks themselves from time and place, so a click state of 2 is one more press and release. Before a press,
  /// modifier keys that are held are released.
  void post(const MouseEvent& event);
  /// Moves the pointer there (top-left origin), and presses and releases the button that opens menus, as above.
  void clickSecondary(Point place);

 private:
  /// What a press depends on, in flight.
  struct PressQuestions {
    xcb_get_pointer_mapping_cookie_t mapping;
    x11::HeldModifierQuestions modifiers;
  };

  void fake(uint8_t type, uint8_t detail, int16_t x = 0, int16_t y = 0);
  void moveTo(int16_t x, int16_t y);
  PressQuestions askForPress() const;
  /// `logical` as people number the buttons: 1 the left one, 3 the right one.
  void press(uint8_t logical, const PressQuestions& questions);
  void release();
  void settle();
  uint8_t physicalButton(uint8_t logical, xcb_get_pointer_mapping_cookie_t asked) const;

  std::shared_ptr<X11Connection> x_;
  KeycodeCallback willReleaseKey_;
  std::mutex mutex_;
  std::unique_ptr<ButtonGuard> guard_;
  uint8_t pressed_ = 0;  ///< the physical button that is down; 0 when none
};

}  // namespace jumplark
