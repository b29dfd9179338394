#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "backends/linux/windows/DesktopInput.h"
#include "backends/linux/x11/PointerPoster.h"
#include "backends/linux/x11/X11Connection.h"
#include "backends/linux/x11/X11EventTaps.h"

namespace jumplark {

/// Input devices through XInput 2.2 (taps) and XTEST (posting). Where the former is missing no tap is made, where the
/// latter is nothing is posted. The locations of taps and posted events make no difference here. Make it early: it
/// starts a small child process (see ButtonGuard), which keeps the memory that this process has at that time.
class X11Input final : public DesktopInput {
 public:
  explicit X11Input(std::shared_ptr<X11Connection> connection);
  ~X11Input() override;

  std::unique_ptr<EventTapHandle> createEventTap(const EventTapConfiguration& configuration,
                                                 EventTapCallback callback) override;
  void postMouseEvent(const MouseEvent& event, uint32_t location) override;
  void beep() override;
  /// Modifiers that are held colour it.
  void typeKey(int64_t keyCode) override;
  void closeMenus() override;
  void clickSecondary(Point place) override { pointer_.clickSecondary(place); }
  std::optional<Point> pointer() const override;
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
