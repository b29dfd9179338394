#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "backends/linux/atspi/vocabulary/Remembered.h"

namespace jumplark::atspi {

class RoleMap;

/// The tree as it is presented, which differs from the toolkits' own in three places, up and down alike:
/// the menu bar of a window stands below the application, so that it is there once; the page that a tab shows stands
/// beside the tab, not inside its narrow rectangle, when the toolkit puts it there, and so does what a disclosure
/// triangle discloses; a closed menu holds nothing.
///
/// Lists that were made from a snapshot are remembered, so that reading one in slices does not make it anew for each.
/// Calls may come from any thread.
class TreeShape {
 public:
  using Elements = std::shared_ptr<const std::vector<ElementRef>>;
  /// A list, or only its length where it is so long that it is read page by page.
  struct List {
    int64_t count = 0;
    Elements elements;  ///< null when paged
  };

  TreeShape(const View& view, const RoleMap& roles) : view_(view), roles_(roles) {}

  /// "AXParent"; empty for an application.
  ElementRef parent(const ElementFacts& element) const;
  /// The frame or dialog that the element stands in, itself included; empty for an application.
  ElementRef window(const ElementFacts& element) const;
  ElementRef application(const ElementFacts& element) const;

  /// "AXChildren" and "AXRows".
  List children(const ElementFacts& element) const;
  /// "AXVisibleChildren": what shows, and is not scrolled out of anything around it.
  List visibleChildren(const ElementFacts& element) const;
  /// "AXVisibleRows": row objects, or cells where there are none, that lie between the edges of the viewport.
  List visibleRows(const ElementFacts& element) const;
  /// Up to `count` entries from `index` on of a list of `element` that children() gave.
  AccessibilityResult<std::vector<ElementRef>> slice(const ElementFacts& element, const List& list, int64_t index,
                                                     int64_t count) const;

  bool isShowing(const ElementFacts& element) const;
  /// What is to be seen of an element: its extents clipped by those of everything around it; null when nothing.
  /// Top-left origin, points.
  Rect visibleRect(const ElementFacts& element) const;
  /// The part of the screen where the document that an element stands in is to be seen; infinite outside of documents.
  Rect documentClip(const ElementFacts& element) const;

 private:
  enum class Which { children, visibleChildren, visibleRows };
  List remembered(const ElementFacts& element, Which which) const;
  List make(const ElementFacts& element, Which which) const;
  /// The elements around one, from its parent on and at most so many; those of a snapshot form a tree, others may hold
  /// circles.
  Rect clipAround(const ElementFacts& element, int steps) const;
  Rect documentClip(const ElementFacts& element, int steps) const;
  std::vector<FactsPointer> presented(const ElementFacts& element) const;
  void addTabWithPage(const FactsPointer& tab, std::vector<FactsPointer>& to) const;
  bool isReparentedMenuBar(const ElementFacts& element) const;
  /// A popover calls the control that opened it its parent, but its window holds it.
  bool isStrayPopover(const ElementFacts& element, const ElementFacts& above) const;
  bool isBesideTab(const ElementFacts& content, const ElementFacts& tab) const;

  const View& view_;
  const RoleMap& roles_;
  std::array<Remembered<List>, 3> lists_{Remembered<List>(view_), Remembered<List>(view_), Remembered<List>(view_)};
  Remembered<Rect> clips_{view_};          ///< what an element leaves to see inside it
  Remembered<Rect> documentClips_{view_};  ///< documentClip of what is below
};

}  // namespace jumplark::atspi
