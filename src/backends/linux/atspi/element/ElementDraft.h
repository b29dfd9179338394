#pragma once

#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "backends/linux/atspi/element/ElementFacts.h"

namespace jumplark::atspi {

/// Something open that is no window by the application's account, and the element that it stood in.
struct OpenPopover {
  ElementRef popover;
  ElementRef opener;
};

/// The elements of one application while they are read and put right; what is left becomes an ElementTree.
class ElementDraft {
 public:
  using Pointer = std::shared_ptr<ElementFacts>;

  /// A new element, which is its parent's from now on; null for one that is there already.
  Pointer claim(const ElementRef& element, const ElementRef& parent);
  /// In the place of what was known of it.
  void add(ElementFacts facts);
  void remove(const ElementRef& element) { elements_.erase(element); }
  /// Gives an element another parent, whose last child it becomes. Nothing where one of them is not there.
  void reparent(const ElementRef& element, const ElementRef& parent);

  size_t size() const { return elements_.size(); }
  bool contains(const ElementRef& element) const { return elements_.contains(element); }
  /// Null for an element that is not there.
  Pointer share(const ElementRef& element) const;
  ElementFacts* find(const ElementRef& element) const { return share(element).get(); }
  /// Those children of an element that are there, in order.
  std::vector<ElementFacts*> childrenOf(const ElementFacts& element) const;
  /// The nearest element around this one that is `wanted`; null without one.
  template <typename Wanted>
  ElementFacts* findAbove(const ElementFacts& element, Wanted wanted) const {
    // A walk makes a tree of what it claims; the limit only says so.
    ElementFacts* above = find(element.parent);
    for (size_t step = 0; above && step < elements_.size(); ++step) {
      if (wanted(*above)) {
        return above;
      }
      above = find(above->parent);
    }
    return nullptr;
  }

  /// Pairs of a reference and its facts, in any order.
  auto begin() const { return elements_.begin(); }
  auto end() const { return elements_.end(); }

 private:
  std::unordered_map<ElementRef, Pointer, ElementRefHash> elements_;
};

}  // namespace jumplark::atspi
