#include "query/engine/QueryWindowPlacement.h"

#include <algorithm>
#include <cmath>

namespace jumplark {
namespace {

bool holds(const Rect& frame, Point point) {
  return point.x >= frame.x && point.x < frame.x + frame.width && point.y >= frame.y &&
         point.y < frame.y + frame.height;
}

double sharedArea(const Rect& a, const Rect& b) {
  const double width = std::min(a.x + a.width, b.x + b.width) - std::max(a.x, b.x);
  const double height = std::min(a.y + a.height, b.y + b.height) - std::max(a.y, b.y);
  return width > 0 && height > 0 ? width * height : 0;
}

double distance(const Rect& a, const Rect& b) {
  const double dx = std::max({0.0, a.x - (b.x + b.width), b.x - (a.x + a.width)});
  const double dy = std::max({0.0, a.y - (b.y + b.height), b.y - (a.y + a.height)});
  return std::hypot(dx, dy);
}

/// The screen that shows most of a rectangle, or else is nearest to it.
size_t screenOf(const Rect& rect, const std::vector<Rect>& screens) {
  const auto best = std::max_element(screens.begin(), screens.end(), [&](const Rect& a, const Rect& b) {
    const double shownOfA = sharedArea(rect, a);
    const double shownOfB = sharedArea(rect, b);
    return shownOfA == shownOfB ? distance(rect, a) > distance(rect, b) : shownOfA < shownOfB;
  });
  return static_cast<size_t>(best - screens.begin());
}

/// The nearest start of an extent within a range; the range's start where it is too short.
double movedInto(double start, double extent, double rangeStart, double rangeExtent) {
  return std::max(rangeStart, std::min(start, rangeStart + rangeExtent - extent));
}

}  // namespace

Point queryWindowTopLeft(const Rect& target, Size window, const std::vector<Rect>& screens,
                         const std::vector<Rect>& workAreas) {
  const double x = target.x + target.width * 0.5 - window.width * 0.5;
  const Point below{x, target.y - window.height};
  const bool fits =
      std::any_of(screens.begin(), screens.end(), [&](const Rect& screen) { return holds(screen, below); });
  const double top = fits ? target.y : target.y + window.height;
  if (screens.empty()) {
    return {x, top};
  }
  const Rect placed{x, top - window.height, window.width, window.height};
  const size_t screen = screenOf(placed, screens);
  const Rect& area = screen < workAreas.size() ? workAreas[screen] : screens[screen];
  return {movedInto(placed.x, placed.width, area.x, area.width),
          movedInto(placed.y, placed.height, area.y, area.height) + placed.height};
}

}  // namespace jumplark
