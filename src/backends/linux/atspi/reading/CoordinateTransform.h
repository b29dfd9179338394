#pragma once

#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "backends/linux/atspi/element/FactsMap.h"
#include "backends/linux/atspi/reading/FrameMatching.h"
#include "backends/linux/windows/WindowSystem.h"

namespace jumplark::atspi {

/// By how much elements were moved from where their application says they are; those that were not are absent.
using Shifts = std::unordered_map<ElementRef, Point, ElementRefHash>;

/// How all places of an application become Points of the screen, and what differs for some.
struct CoordinateTransform {
  Placement placement;
  std::unordered_set<ElementRef, ElementRefHash> onScreen;  ///< tell where they are on the screen already
  Shifts shifts;                                            ///< in points

  /// What an element told, its shift already added to it.
  Rect toScreen(const ElementRef& element, const Rect& told) const;
  Rect fromScreen(const ElementRef& element, const Rect& place) const;
  Point shiftOf(const ElementRef& element) const;
};

/// Makes points of the screen of the places of all elements. A browser scales its own controls, and tells the places in
/// its pages as they are on the screen.
void placeOnScreen(const Toolkit& toolkit, CoordinateTransform& places, FactsMap& elements);

/// Moves elements below a frame to where they show, where that is known better than the application tells:
///
/// A popover of GTK 4 has a window of its own, which the window system places. The application tells the places in
/// it as if that window began where the control is that opens it. The popover becomes a child of the frame, since it
/// mostly lies outside its control.
///
/// What LibreOffice draws itself counts from the top of the window, though GTK's menu bar stands there: its root pane
/// is as large as the panel around it and is where that is. Parts of GTK's in between tell their right places.
///
/// The page of a tab in a Java program tells its place as if it lay in its tab; what is in it tells its right place.
/// Its windows cannot tell theirs (see settlePlace), but what fills them can.
///
/// `popups` are the pop-up windows of the application.
Shifts correctPlaces(const Toolkit& toolkit, const std::vector<WindowFacts>& popups, const ElementRef& frame,
                     FactsMap& elements);

}  // namespace jumplark::atspi
