#pragma once

#include "desktop/support/PrivateSession.h"

namespace jumplark::desktop {

/// A session on a Wayland compositor, with a pointer and a keyboard of the tests' own (scripts/wayland-seat). Places
/// are points of the compositor's layout. What only the compositor can tell of windows is a subclass's matter.
class WaylandSession : public PrivateSession {
 public:
  explicit WaylandSession(const SessionOptions& options) : PrivateSession(options, WithoutDisplay()) {}

  /// Hands what tests have put into the session's folder over to its user before.
  Process& start(const Arguments& arguments, const Environment& extra = {}) override;
  bool listsAllWindows() const override { return false; }
  /// Nobody holds it from anybody else but in menus, which are not known of.
  bool keyboardIsFree() const override { return true; }
  void press(const Arguments& names) override;
  void type(const std::string& text) override { seat({"type", text}); }
  void pointTo(int x, int y) override { seat({"move", std::to_string(x), std::to_string(y)}); }
  void click(int x, int y, const std::string& button = "1") override;

 protected:
  /// As the session's user.
  Arguments commandOf(const Arguments& arguments) const override;
  /// What a picture in the format PPM shows, row by row, 0xRRGGBB; throws std::runtime_error unless it has that size.
  static std::vector<uint32_t> colours(const std::string& picture, int width, int height);

 private:
  void seat(const Arguments& arguments) const;
};

}  // namespace jumplark::desktop
