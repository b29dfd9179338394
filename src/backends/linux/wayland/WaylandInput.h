#pragma once

#include <memory>

#include "backends/linux/wayland/SeatDevices.h"
#include "backends/linux/wayland/WaylandScreens.h"
#include "backends/linux/wayland/WaylandTaps.h"
#include "backends/linux/windows/DesktopInput.h"

namespace jumplark {

/// Pointer and keyboard of our own on the compositor's seat, in its own way or by the protocols that several share, as
/// far as it offers them: where it does not, nothing is posted. Make it early, see SeatPointer.
class WaylandInput final : public DesktopInput {
 public:
  /// All must outlive this.
  WaylandInput(const std::shared_ptr<WaylandConnection>& connection, Compositor& compositor, WaylandScreens& screens);
  WaylandInput(const WaylandInput&) = delete;
  WaylandInput& operator=(const WaylandInput&) = delete;
  /// Taps may live on.
  ~WaylandInput() override { taps_->end(); }

  std::unique_ptr<EventTapHandle> createEventTap(const EventTapConfiguration& configuration,
                                                 EventTapCallback callback) override;
  void postMouseEvent(const MouseEvent& event, uint32_t location) override;
  void beep() override {}
  void typeKey(int64_t keyCode) override;
  /// As far as the compositor does it: Escape would close anything else where it does not tell which menus are open.
  void closeMenus() override { compositor_.closeMenus(); }
  void clickSecondary(Point place) override;
  std::optional<Point> pointer() const override { return screens_.knownPointer(); }

  WaylandTaps& taps() { return *taps_; }
  /// The modifiers that the user held when this program's window had the keyboard last; see modifier_flag. They are
  /// taken back before the next press.
  void noteHeldModifiers(uint64_t flags) { held_ = flags; }

 private:
  void releaseModifiers();

  Compositor& compositor_;
  WaylandScreens& screens_;
  std::shared_ptr<WaylandTaps> taps_;
  std::unique_ptr<SeatPointer> pointer_;
  std::unique_ptr<SeatKeyboard> keyboard_;
  std::atomic<uint64_t> held_{0};
};

}  // namespace jumplark
