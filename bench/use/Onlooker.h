#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Figures.h"

namespace jumplark::bench {

/// An X client of its own that presses keys and sees what the screen makes of it. Errors throw std::runtime_error.
class Onlooker {
 public:
  explicit Onlooker(const std::string& display);
  Onlooker(const Onlooker&) = delete;
  Onlooker& operator=(const Onlooker&) = delete;
  ~Onlooker() { xcb_disconnect(connection_); }

  /// Presses the keys one upon the other and lets go of them in reverse order; returns when the last went down, as far
  /// as it was sent.
  Clock::time_point press(const std::vector<uint8_t>& keycodes);
  /// Says when a window gets the keyboard from now on.
  void watchFocus(xcb_window_t window);
  /// What was seen so far no longer counts.
  void forget();
  /// Milliseconds from `start` until a watched window has the keyboard.
  double untilFocus(Clock::time_point start);
  /// Milliseconds from `start` until the condition, which is asked again and again, holds.
  static double until(Clock::time_point start, const std::function<bool()>& condition);

  bool buttonIsDown() const;
  /// Pixels of a window, or of the root, 0xRRGGBB; none while the window is not on the screen.
  std::vector<uint32_t> pixels(xcb_window_t window, int x, int y, int width, int height) const;
  xcb_window_t root() const { return screen_->root; }

  /// A managed window that takes the focus: the least that a window manager does for one. Milliseconds until it has it.
  double plainWindow();

 private:
  void key(uint8_t type, uint8_t keycode);

  xcb_connection_t* connection_;
  xcb_screen_t* screen_;
};

}  // namespace jumplark::bench
