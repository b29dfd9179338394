#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "backends/linux/x11/PointerPoster.h"
#include "backends/linux/x11/X11Connection.h"
#include "backends/linux/x11/X11EventTaps.h"
#include "platform/Input.h"

namespace jumplark {

/// Input devices through XInput 2.2 (taps) and XTEST (posting). Where the former is missing no tap is made, where the
/// latter is nothing is posted. The locations of taps and posted events make no difference here. Make it early: it
/// starts a small child process (see ButtonGuard), which keeps the memory that this process has at that time.
class X11Input final : public InputPlatform {
 public:
  explicit X11Input(std::shared_ptr<X11Connection> connection);
  ~X11Input() override;

  std::unique_ptr<EventTapHandle> createEventTap(const EventTapConfiguration& configuration,
                                                 EventTapCallback callback) override;
  void postMouseEvent(const MouseEvent& event, uint32_t location) override;
  void beep() override;
  /// Presses and releases a key, by its virtual key code, as if the user did. Modifiers that are held colour it. Does
  /// nothing where the keyboard has no such key.
  void typeKey(int64_t keyCode);
  /// Closes the menus that have the keyboard, level by level. Waits for them.
  void closeMenus();
  /// Clicks with the button that opens menus, at a point with a top-left origin. Modifiers that are held do not colour
  /// it.
  void clickSecondary(Point place) { pointer_.clickSecondary(place); }
  /// Where the pointer is, with a top-left origin; none when the display has gone.
  std::optional<Point> pointer() const;
  /// To be called before somebody of this program posts the release of a key that no tap shall see. Any thread.
  void expectOwnRelease(uint8_t keycode);

 private:
  std::shared_ptr<X11EventTaps> taps();

  std::shared_ptr<X11Connection> x_;
  std::mutex mutex_;
  std::shared_ptr<X11EventTaps> taps_;  ///< made with the first tap
  PointerPoster pointer_;
};

}  // namespace jumplark
