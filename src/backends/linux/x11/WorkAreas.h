#pragma once

#include <vector>

#include "backends/linux/x11/X11Connection.h"
#include "platform/Geometry.h"

namespace jumplark::x11 {

/// The part of each monitor that panels leave free. All rectangles are in pixels of the root, top-left origin.
///
/// The space that windows reserve (_NET_WM_STRUT_PARTIAL, _NET_WM_STRUT) is taken off the monitors it lies on. The
/// window manager's own _NET_WORKAREA is one rectangle for all monitors, so a panel on one would cut the others too: it
/// is believed where there is one monitor only, or where no window reserves anything.
std::vector<Rect> workAreas(const X11Connection& x, const std::vector<Rect>& monitors);

}  // namespace jumplark::x11
