#pragma once

#include <xcb/xcb.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

#include "backends/linux/windows/WindowSystem.h"
#include "backends/linux/x11/X11Connection.h"

namespace jumplark {

/// Windows as the X server and an EWMH window manager know them. Where no window manager runs, the managed windows are
/// the root's viewable children in stacking order, and activation sets the input focus itself. Calls may come from any
/// thread and wait for nothing but the X server.
class X11WindowSystem final : public WindowSystem {
 public:
  explicit X11WindowSystem(std::shared_ptr<X11Connection> connection);

  std::vector<WindowFacts> windowsFrontToBack() override;
  std::vector<WindowFacts> windowsLately() const override;
  std::optional<WindowFacts> window(WindowId id) override;
  WindowId activeWindow() override;
  std::optional<WindowFacts> topmostWindowAt(Point topLeft) override;
  bool isOwn(const WindowFacts& facts) const override;
  std::vector<WindowFacts> popupsFrontToBack() override;
  /// A window that windowsFrontToBack() listed last counts as there.
  bool requestActive(WindowId id, bool force) override;
  std::vector<WindowButton> buttonsOf(const WindowFacts& window) override;
  bool request(WindowId id, WindowWish wish) override;

  /// The X time of the user's last key event that concerns us, which a forced activation names. Zero (no time) at
  /// first.
  void noteUserTime(uint32_t time) { userTime_ = time; }
  uint32_t userTime() const { return userTime_; }

  /// From now on the window is not among the managed ones: it is shown over the window the user works in, and does not
  /// count as one.
  void passOver(uint32_t window);

 private:
  void activateThroughWindowManager(uint32_t id, bool force, uint32_t active);
  bool activateDirectly(uint32_t id);
  bool isListed(uint32_t window) const;

  std::shared_ptr<X11Connection> x_;
  std::atomic<uint32_t> userTime_{0};
  std::atomic<xcb_window_t> windowManager_{0};  ///< as it was found last; asked again each time
  mutable std::mutex mutex_;                    ///< leaf
  std::set<uint32_t> passedOver_;
  std::vector<WindowFacts> listed_;  ///< the managed windows at the last look
  std::chrono::steady_clock::time_point listedAt_;
};

}  // namespace jumplark
