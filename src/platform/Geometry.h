#pragma once

#include <cstdint>
#include <limits>

/// Points, sizes and rectangles as plain values. They carry no coordinate origin of their own: whoever hands one over
/// says whether y grows downwards (accessibility geometry, pointer events) or upwards (windows, screens, the pointer
/// location). All lengths are points; on X11 a point is a pixel.
namespace jumplark {

struct Point {
  double x = 0;
  double y = 0;
  bool operator==(const Point&) const = default;
};

struct Size {
  double width = 0;
  double height = 0;
  bool operator==(const Size&) const = default;
};

/// A range of UTF-16 units. The not-found location is the largest signed 64-bit value.
struct Range {
  int64_t location = 0;
  int64_t length = 0;
  bool operator==(const Range&) const = default;
  static constexpr int64_t kNotFound = std::numeric_limits<int64_t>::max();
};

struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  bool operator==(const Rect&) const = default;

  /// The result of an empty intersection: an empty rectangle at infinity, so that it is infinitely far from every
  /// other.
  static constexpr Rect null() {
    constexpr double inf = std::numeric_limits<double>::infinity();
    return {inf, inf, 0, 0};
  }
  /// The rectangle without limits, neutral for intersection.
  static constexpr Rect infinite() {
    constexpr double max = std::numeric_limits<double>::max();
    return {-max / 2, -max / 2, max, max};
  }

  constexpr bool isNull() const { return *this == null(); }
  constexpr bool isInfinite() const { return *this == infinite(); }
  constexpr double minX() const { return x; }
  constexpr double minY() const { return y; }
  constexpr double maxX() const { return x + width; }
  constexpr double maxY() const { return y + height; }
  constexpr double midX() const { return x + width / 2; }
  constexpr double midY() const { return y + height / 2; }

  /// Half-open: the minimum edges belong to the rectangle, the maximum edges do not.
  constexpr bool contains(Point p) const { return p.x >= x && p.x < maxX() && p.y >= y && p.y < maxY(); }
};

/// True when both share some area. An empty rectangle shares none, wherever it lies.
bool intersects(const Rect& a, const Rect& b);

/// The common part. Rectangles that only touch have none (the null rectangle); a zero-size rectangle that lies inside
/// another is their intersection.
Rect intersection(const Rect& a, const Rect& b);

}  // namespace jumplark
