#pragma once

#include <xcb/xcb.h>

#include <memory>
#include <string>
#include <vector>

#include "desktop/support/PrivateSession.h"

namespace jumplark::desktop {

/// The tests' own look at the X server. Errors about windows that vanish meanwhile leave them out.
class PrivateSession::Display {
 public:
  /// Throws std::runtime_error when the server cannot be reached.
  explicit Display(const std::string& name);
  Display(const Display&) = delete;
  Display& operator=(const Display&) = delete;
  ~Display() { xcb_disconnect(connection_); }

  std::vector<SessionWindow> windows() const;
  uint32_t activeWindow() const;
  void requestActive(xcb_window_t window) const;
  bool compositorRuns() const;
  std::vector<uint32_t> pixels(const PixelRect& rect) const;
  std::string heldInput() const;
  bool keyboardIsFree() const;
  bool takeKey(uint8_t keycode, uint16_t modifiers) const;
  void giveKeyBack(uint8_t keycode, uint16_t modifiers) const;

 private:
  /// What the server answers to a request; null for an error.
  template <typename Request, typename Reply, typename... Arguments>
  auto ask(Request request, Reply reply, Arguments... arguments) const {
    auto* answer = reply(connection_, request(connection_, arguments...), nullptr);
    return std::unique_ptr<std::remove_pointer_t<decltype(answer)>, decltype(&std::free)>(answer, &std::free);
  }
  xcb_atom_t atom(const char* name) const;
  /// The bytes of a property of that many bits; none of another kind.
  std::string property(xcb_window_t window, xcb_atom_t property, int bits = 8) const;
  /// A property's first number; 0 when there is none.
  uint32_t number(xcb_window_t window, xcb_atom_t property) const;
  std::optional<SessionWindow> describe(xcb_window_t window) const;
  void collect(xcb_window_t parent, int depth, std::vector<SessionWindow>& found) const;

  xcb_connection_t* connection_;
  xcb_screen_t* screen_ = nullptr;
  xcb_atom_t netWmName_ = 0;
  xcb_atom_t netWmPid_ = 0;
  xcb_atom_t netActiveWindow_ = 0;
};

}  // namespace jumplark::desktop
