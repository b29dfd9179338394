#pragma once

#include "desktop/support/WaylandSession.h"

namespace jumplark::desktop {

/// A session on GNOME Shell, with our extension for it: windows are those that the shell tells the tests' own one.
class GnomeSession final : public WaylandSession {
 public:
  using WaylandSession::WaylandSession;

  std::vector<SessionWindow> windows() const override;
  uint32_t activeWindow() const override;
  std::vector<uint32_t> pixels(const PixelRect& rect) const override;
  void moveActiveWindow(int x, int y) override;

  /// Whether nobody has bound the combination, "<Super><Shift>space".
  bool isFree(const std::string& accelerator) const { return seat({"free", accelerator}).status == 0; }
  /// Switches our extension on or off, and returns when it is.
  void setExtension(bool on) const;
  /// The shell's process.
  pid_t shell() const;

 protected:
  void requestActive(uint32_t window) const override;

 private:
  Finished seat(const Arguments& arguments) const;
};

}  // namespace jumplark::desktop
