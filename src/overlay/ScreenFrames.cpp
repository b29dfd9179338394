#include "overlay/ScreenFrames.h"

#include <algorithm>

#include "platform/Platform.h"
#include "platform/Screens.h"

namespace jumplark {

Rect mergedScreenFrame() {
  Rect merged;
  for (const Rect& frame : Platform::current().screens->frames()) {
    const double right = std::max(merged.maxX(), frame.maxX());
    const double top = std::max(merged.maxY(), frame.maxY());
    merged.x = std::min(merged.x, frame.x);
    merged.y = std::min(merged.y, frame.y);
    merged.width = right - merged.x;
    merged.height = top - merged.y;
  }
  return merged;
}

}  // namespace jumplark
