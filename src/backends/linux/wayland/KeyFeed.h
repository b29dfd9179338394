#pragma once

#include <cstdint>

#include "backends/linux/wayland/WaylandInput.h"
#include "backends/linux/wayland/surfaces/KeyboardWatch.h"

namespace jumplark {

/// Shows the keys that this program's windows get to its event taps, and tells which modifiers are held. Main thread
/// only.
class KeyFeed {
 public:
  /// Both must outlive it.
  KeyFeed(wayland::KeyboardWatch& keyboard, WaylandInput& input);

 private:
  void entered();
  void key(uint32_t keycode, bool isDown, uint32_t time);
  void modifiersChanged(const wayland::KeyboardWatch::Modifiers& modifiers);

  wayland::KeyboardWatch& keyboard_;
  WaylandInput& input_;
  uint64_t flags_ = 0;
  int64_t lastCode_ = 0;
  std::chrono::milliseconds lastTime_{0};
  bool hasEntered_ = false;  ///< and not been told yet which modifiers are held
  Token token_;
};

}  // namespace jumplark
