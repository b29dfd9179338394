#include "platform/Geometry.h"

#include <algorithm>

namespace jumplark {
namespace {

struct Interval {
  double low;
  double high;
  bool valid;
};

bool holds(double low, double high, double value) {
  return value >= low && (value < high || low == high);
}

Interval common(double aLow, double aHigh, double bLow, double bHigh) {
  const double low = std::max(aLow, bLow);
  const double high = std::min(aHigh, bHigh);
  if (low != high) {
    return {low, high, low < high};
  }
  const bool aInside = aLow == aHigh && holds(bLow, bHigh, aLow);
  const bool bInside = bLow == bHigh && holds(aLow, aHigh, bLow);
  return {low, high, aInside || bInside};
}

}  // namespace

bool intersects(const Rect& a, const Rect& b) {
  return std::max(a.minX(), b.minX()) < std::min(a.maxX(), b.maxX()) &&
         std::max(a.minY(), b.minY()) < std::min(a.maxY(), b.maxY());
}

Rect intersection(const Rect& a, const Rect& b) {
  if (a.isNull() || b.isNull()) {
    return Rect::null();
  }
  if (a.isInfinite()) {
    return b;
  }
  if (b.isInfinite()) {
    return a;
  }
  const Interval horizontal = common(a.minX(), a.maxX(), b.minX(), b.maxX());
  const Interval vertical = common(a.minY(), a.maxY(), b.minY(), b.maxY());
  if (!horizontal.valid || !vertical.valid) {
    return Rect::null();
  }
  return {horizontal.low, vertical.low, horizontal.high - horizontal.low, vertical.high - vertical.low};
}

}  // namespace jumplark
