#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "backends/recorded/RecordedDesktop.h"

namespace jumplark {

/// Finds the element at a point of a recorded desktop. In a tree the last element in depth-first order whose rectangle
/// ("AXPosition" and "AXSize", half-open) holds the point is on top, whatever its parent's rectangle; elements that
/// fail are not hit. The tree is that of "AXChildren"; an application without them has its menu bar and focused window,
/// any other element its rows. A tree's rectangles are listed once, so that a test costs nanoseconds an element.
///
/// Not safe on several threads. References to a store that changes are forgotten with reset().
class HitTester {
 public:
  explicit HitTester(const ElementStore& store) : store_(store) {}

  /// The element below `root` (or itself) at a point with a top-left origin; empty when there is none.
  ElementRef elementAt(const ElementRef& root, Point point);
  /// Whether `element` is in the tree below `root`, or `root` itself.
  bool holds(const ElementRef& root, const ElementRef& element);
  void reset() { trees_.clear(); }

 private:
  struct Box {
    Rect rect;
    size_t element;
  };
  struct Tree {
    std::vector<Box> boxes;     ///< of the elements that can be hit, in depth-first order
    std::vector<bool> members;  ///< by index in the store
  };

  const Tree& treeBelow(const ElementRef& root);
  void appendChildren(const RecordedElement& element, std::vector<ElementRef>& stack) const;
  const AttributeValue::List* childList(const RecordedElement& element) const;
  std::optional<Rect> rectangle(const RecordedElement& element) const;

  const ElementStore& store_;
  std::unordered_map<ElementRef, Tree, ElementRefHash> trees_;
};

}  // namespace jumplark
