#pragma once

#include "desktop/support/WaylandSession.h"

namespace jumplark::desktop {

/// A session on sway: windows are those that its tree lists, so no menu and nothing that lies over windows; what shows
/// can be read where a point is a pixel.
class SwaySession final : public WaylandSession {
 public:
  using WaylandSession::WaylandSession;

  std::vector<SessionWindow> windows() const override;
  uint32_t activeWindow() const override;
  std::vector<uint32_t> pixels(const PixelRect& rect) const override;
  void moveActiveWindow(int x, int y) override;

 protected:
  void requestActive(uint32_t window) const override;
};

}  // namespace jumplark::desktop
