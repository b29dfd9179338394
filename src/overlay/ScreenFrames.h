#pragma once

#include "platform/Geometry.h"

namespace jumplark {

/// The smallest rectangle that holds the frames of all screens and the origin. Bottom-left origin, in points.
Rect mergedScreenFrame();

}  // namespace jumplark
