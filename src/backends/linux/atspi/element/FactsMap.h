#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "backends/linux/atspi/element/ElementFacts.h"

namespace jumplark::atspi {

/// Facts by reference, while they are being collected and put right.
using FactsMap = std::unordered_map<ElementRef, std::shared_ptr<ElementFacts>, ElementRefHash>;

/// Null for an element that the map does not hold.
inline ElementFacts* find(const ElementRef& element, const FactsMap& elements) {
  const auto found = elements.find(element);
  return found == elements.end() ? nullptr : found->second.get();
}

/// Those children of an element that the map holds, in order.
inline std::vector<ElementFacts*> childrenOf(const ElementFacts& element, const FactsMap& elements) {
  std::vector<ElementFacts*> children;
  children.reserve(element.children.size());
  for (const ElementRef& ref : element.children) {
    if (ElementFacts* child = find(ref, elements)) {
      children.push_back(child);
    }
  }
  return children;
}

/// The nearest element around this one that is `wanted`; null without one. The walk that fills a map makes a tree of
/// it; the limit only says so.
template <typename Wanted>
ElementFacts* findAbove(const ElementFacts& element, const FactsMap& elements, Wanted wanted) {
  ElementFacts* above = find(element.parent, elements);
  for (size_t step = 0; above && step < elements.size(); ++step) {
    if (wanted(*above)) {
      return above;
    }
    above = find(above->parent, elements);
  }
  return nullptr;
}

}  // namespace jumplark::atspi
