#pragma once

#include <vector>

#include "platform/Geometry.h"

namespace jumplark {

/// A monitor, or the part of the desktop that it shows.
struct Monitor {
  Rect rect;  ///< points of the desktop, top-left origin
  bool primary = false;
};

/// The rectangles, the first screen of `Screens` first. Window systems count rows from the top of all screens.
/// Converting with the top of the first frame (y' = origin y + height - y) is exact only when that begins at the first
/// row, so the primary monitor is first only if it does; otherwise the leftmost one that does.
std::vector<Rect> inOrder(std::vector<Monitor> monitors);

/// Into coordinates with a bottom-left origin: the lower left corner of a rectangle that ends at row `top` has y = 0.
std::vector<Rect> fromBottom(std::vector<Rect> rects, double top);

}  // namespace jumplark
