#pragma once

#include <array>
#include <unordered_map>
#include <unordered_set>

#include "backends/linux/atspi/element/ElementDraft.h"
#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::atspi {

/// How places that an application tells become points of the screen, where it counts in larger units (a screen of twice
/// the resolution): `to` is where its point `from` is.
struct Placement {
  Point from;
  Point to;
  double scale = 1;

  bool isIdentity() const { return scale == 1; }
  Rect toScreen(const Rect& told) const;
  Rect fromScreen(const Rect& place) const;
};

/// By how much elements were moved from where their application says they are; those that were not are absent.
using Shifts = std::unordered_map<ElementRef, Point, ElementRefHash>;

/// How all places of an application become points of the screen, and what differs for some.
struct CoordinateTransform {
  Placement placement;
  std::unordered_set<ElementRef, ElementRefHash> onScreen;    ///< tell where they are on the screen already
  Shifts shifts;                                              ///< in points
  std::unordered_map<ElementRef, Size, ElementRefHash> bars;  ///< see ElementFacts; as the application counts

  /// What an element told, its shift already added to it.
  Rect toScreen(const ElementRef& element, const Rect& whole) const;
  Rect fromScreen(const ElementRef& element, const Rect& place) const;
  Point shiftOf(const ElementRef& element) const;
  /// Moves an element, once, and notes by how much.
  void move(ElementFacts& element, Point shift);
};

/// What of a window its frame may tell: the surface, that with what the window system adds, and that without shadow.
std::array<Rect, 3> rectsOf(const WindowFacts& window);
/// How much larger a rectangle is than reported, when all of it is; 0 when they do not fit. `unit` is a window's.
double scaleBetween(const Rect& reported, const Rect& rect, double unit = 1);
/// The same in whole numbers, of a frame that tells of its content alone, so that sizes give the scale only nearly.
double wholeScale(const WindowFacts& window, const Rect& reported);

/// The same but for rounding, or for a border that is counted or not.
bool isNear(double a, double b, double tolerance = 1);

}  // namespace jumplark::atspi
