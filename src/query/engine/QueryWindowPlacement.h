#pragma once

#include <vector>

#include "platform/Geometry.h"

namespace jumplark {

/// The upper left corner of a query window of a given size over the target's window: centred below it, and inside it at
/// its bottom where there is no screen below; then moved by the least amount into the work area of the screen that
/// holds most of it. The work areas stand in the order of the screens. Everything in screen coordinates with a
/// bottom-left origin.
Point queryWindowTopLeft(const Rect& target, Size window, const std::vector<Rect>& screens,
                         const std::vector<Rect>& workAreas);

}  // namespace jumplark
