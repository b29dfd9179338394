#include "backends/linux/atspi/reading/CoordinateTransform.h"

#include <algorithm>
#include <cmath>

namespace jumplark::atspi {
namespace {

/// Rounding, and borders that toolkits count or do not.
constexpr double kTolerance = 4;
/// Of smaller windows the sizes are alike by chance, in one scale or another.
constexpr double kTellingSize = 60;

Rect moved(const Rect& rect, Point by) {
  return {rect.x + by.x, rect.y + by.y, rect.width, rect.height};
}

Point negated(Point point) {
  return {-point.x, -point.y};
}

}  // namespace

bool isNear(double a, double b, double tolerance) {
  return std::abs(a - b) <= tolerance;
}

std::array<Rect, 3> rectsOf(const WindowFacts& window) {
  return {window.surface, window.frame, window.withoutShadow()};
}

double scaleBetween(const Rect& reported, const Rect& rect, double unit) {
  for (const double scale : {unit, 1.0, 2.0, 3.0, 1.25, 1.5, 1.75, 2.25, 2.5, 4.0}) {
    const bool tells = scale == unit || std::min(rect.width, rect.height) >= kTellingSize;
    if (tells && isNear(reported.width * scale, rect.width, kTolerance) &&
        isNear(reported.height * scale, rect.height, kTolerance)) {
      return scale;
    }
  }
  return 0;
}

double wholeScale(const WindowFacts& window, const Rect& reported) {
  if (!(reported.width > 0) || !(reported.height > 0)) {
    return 1;
  }
  const Rect content = window.withoutShadow();
  const double across = std::round(content.width / window.unit / reported.width);
  const double down = std::round(content.height / window.unit / reported.height);
  return window.unit * (across == down && across >= 1 ? across : 1);
}

Rect Placement::toScreen(const Rect& told) const {
  return {to.x + (told.x - from.x) * scale, to.y + (told.y - from.y) * scale, told.width * scale, told.height * scale};
}

Rect Placement::fromScreen(const Rect& place) const {
  return {from.x + (place.x - to.x) / scale, from.y + (place.y - to.y) / scale, place.width / scale,
          place.height / scale};
}

Point CoordinateTransform::shiftOf(const ElementRef& element) const {
  const auto shift = shifts.find(element);
  return shift == shifts.end() ? Point{} : shift->second;
}

void CoordinateTransform::move(ElementFacts& element, Point shift) {
  if (element.extents && shifts.emplace(element.ref, shift).second) {
    element.extents = moved(*element.extents, shift);
  }
}

Rect CoordinateTransform::toScreen(const ElementRef& element, const Rect& whole) const {
  Rect told = whole;
  if (const auto covered = bars.find(element); covered != bars.end()) {
    told.width = std::max(0.0, told.width - covered->second.width);
    told.height = std::max(0.0, told.height - covered->second.height);
  }
  if (placement.isIdentity() || onScreen.contains(element)) {
    return told;
  }
  const Point shift = shiftOf(element);
  return moved(placement.toScreen(moved(told, negated(shift))), shift);
}

Rect CoordinateTransform::fromScreen(const ElementRef& element, const Rect& place) const {
  if (placement.isIdentity() || onScreen.contains(element)) {
    return place;
  }
  const Point shift = shiftOf(element);
  return moved(placement.fromScreen(moved(place, negated(shift))), shift);
}

}  // namespace jumplark::atspi
