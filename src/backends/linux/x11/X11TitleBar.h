#pragma once

#include <vector>

#include "backends/linux/windows/WindowSystem.h"
#include "backends/linux/x11/X11Connection.h"

namespace jumplark::x11 {

/// See WindowSystem::buttonsOf. Most window managers make each button of a title bar a window of its own, inside the
/// frame: that is where they are; what is for what their settings tell.
std::vector<WindowButton> buttonsOfWindow(const X11Connection& x, const WindowFacts& window);

/// See WindowSystem::request. `time` is that of the user's last key event.
bool requestOfWindow(const X11Connection& x, xcb_window_t window, WindowWish wish, uint32_t time);

}  // namespace jumplark::x11
