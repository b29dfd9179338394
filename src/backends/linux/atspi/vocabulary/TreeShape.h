#pragma once

#include <cstdint>
#include <vector>

#include "backends/linux/atspi/source/View.h"

namespace jumplark::atspi {

class RoleMap;

/// The tree as it is presented, which differs from the toolkits' own in three places, up and down alike:
/// the menu bar of a window stands below the application, so that it is there once; the page that a tab shows stands
/// beside the tab, not inside its narrow rectangle, when the toolkit puts it there, and so does what a disclosure
/// triangle discloses; a closed menu holds nothing.
///
/// Calls may come from any thread.
class TreeShape {
 public:
  TreeShape(const View& view, const RoleMap& roles) : view_(view), roles_(roles) {}

  /// "AXParent"; empty for an application.
  ElementRef parent(const ElementFacts& element) const;
  /// The frame or dialog that the element stands in, itself included; empty for an application.
  ElementRef window(const ElementFacts& element) const;
  ElementRef application(const ElementFacts& element) const;

  /// "AXChildren" and "AXRows".
  ElementList children(const ElementFacts& element) const;
  /// "AXVisibleChildren": what shows, and is not scrolled out of anything around it but for an edge.
  ElementList visibleChildren(const ElementFacts& element) const;
  /// "AXVisibleRows": row objects, or cells where there are none, that lie between the edges of the viewport.
  ElementList visibleRows(const ElementFacts& element) const;
  /// Up to `count` entries from `index` on of a list of `element` that children() gave.
  AccessibilityResult<std::vector<ElementRef>> slice(const ElementFacts& element, const ElementList& list,
                                                     int64_t index, int64_t count) const;

  bool isShowing(const ElementFacts& element) const;
  /// What is to be seen of an element: null when nothing. Top-left origin, points.
  Rect visibleRect(const ElementFacts& element) const;
  /// The part of the screen in which an element can be seen; infinite where nothing around it hides any.
  Rect sight(const ElementFacts& element) const;
  /// The part of the screen where the document that an element stands in is to be seen; infinite outside of documents.
  Rect documentClip(const ElementFacts& element) const;

 private:
  /// What shows of the children; rows count by their height alone.
  ElementList showing(const ElementFacts& element, bool rows) const;
  bool isSeen(const ElementFacts& child, const Rect& viewport, bool isRow) const;
  Rect clipAround(const ElementFacts& element) const;
  std::vector<FactsPointer> presented(const ElementFacts& element) const;
  void addTabWithPage(const FactsPointer& tab, std::vector<FactsPointer>& to) const;
  bool isReparentedMenuBar(const ElementFacts& element) const;
  /// A popover calls the control that opened it its parent, but its window holds it.
  bool isStrayPopover(const ElementFacts& element, const ElementFacts& above) const;

  const View& view_;
  const RoleMap& roles_;
};

}  // namespace jumplark::atspi
