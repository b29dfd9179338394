#pragma once

#include "desktop/support/PrivateSession.h"

namespace jumplark::desktop {

/// A session on sway, a Wayland compositor. Places are points of its layout; windows are those that its tree lists, so
/// no menu and nothing that lies over windows; what shows can be read where a point is a pixel.
class SwaySession final : public PrivateSession {
 public:
  explicit SwaySession(const SessionOptions& options) : PrivateSession(options, WithoutDisplay()) {}

  /// Hands what tests have put into the session's folder over to its user before.
  Process& start(const Arguments& arguments, const Environment& extra = {}) override;
  std::vector<SessionWindow> windows() const override;
  bool listsAllWindows() const override { return false; }
  uint32_t activeWindow() const override;
  std::vector<uint32_t> pixels(const PixelRect& rect) const override;
  /// Nobody holds it from anybody else but in menus, which are not known of.
  bool keyboardIsFree() const override { return true; }
  void press(const Arguments& names) override;
  void type(const std::string& text) override { seat({"type", text}); }
  void pointTo(int x, int y) override { seat({"move", std::to_string(x), std::to_string(y)}); }
  void click(int x, int y, const std::string& button = "1") override;

 protected:
  void requestActive(uint32_t window) const override;
  /// As the session's user.
  Arguments commandOf(const Arguments& arguments) const override;

 private:
  void seat(const Arguments& arguments) const;
};

}  // namespace jumplark::desktop
