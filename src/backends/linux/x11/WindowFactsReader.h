#pragma once

#include <xcb/xcb.h>

#include <optional>
#include <vector>

#include "backends/linux/windows/WindowSystem.h"
#include "backends/linux/x11/X11Connection.h"

namespace jumplark::x11 {

/// Reads all facts of many windows in one go: every question is sent before the first answer is awaited. One entry per
/// id, in order; none for a window that has gone or can show nothing (InputOnly).
std::vector<std::optional<WindowFacts>> readWindowFacts(const X11Connection& x, const std::vector<xcb_window_t>& ids);

}  // namespace jumplark::x11
