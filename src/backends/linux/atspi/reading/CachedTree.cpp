#include "backends/linux/atspi/reading/CachedTree.h"

#include <algorithm>
#include <utility>

namespace jumplark::atspi {

CachedTree::CachedTree(std::vector<CacheItem> items) {
  std::unordered_map<ElementRef, std::vector<std::pair<int32_t, ElementRef>>, ElementRefHash> byParent;
  items_.reserve(items.size());
  for (CacheItem& item : items) {
    const ElementRef element = item.element;
    if (!element || items_.contains(element)) {
      continue;
    }
    if (item.parent) {
      byParent[item.parent].emplace_back(item.indexInParent, element);
    }
    items_.emplace(element, std::move(item));
  }
  for (auto& [parent, indexed] : byParent) {
    std::vector<ElementRef>& all = anyOrder_[parent];
    for (const auto& [index, child] : indexed) {
      all.push_back(child);
    }
    const CacheItem* above = find(parent);
    if (!above || above->childCount != static_cast<int64_t>(indexed.size())) {
      continue;
    }
    std::sort(indexed.begin(), indexed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    // The only child of a stack's page counts from the stack, so that an index tells no more than the order.
    const auto sameIndex = [](const auto& a, const auto& b) { return a.first == b.first; };
    if (std::adjacent_find(indexed.begin(), indexed.end(), sameIndex) != indexed.end()) {
      continue;
    }
    std::vector<ElementRef>& children = children_[parent];
    for (const auto& [index, child] : indexed) {
      children.push_back(child);
    }
  }
}

const CacheItem* CachedTree::find(const ElementRef& element) const {
  const auto found = items_.find(element);
  return found == items_.end() ? nullptr : &found->second;
}

const std::vector<ElementRef>* CachedTree::inAnyOrder(const ElementRef& parent) const {
  const auto found = anyOrder_.find(parent);
  return found == anyOrder_.end() ? nullptr : &found->second;
}

const std::vector<ElementRef>* CachedTree::childrenOf(const ElementRef& element) const {
  const auto found = children_.find(element);
  return found == children_.end() ? nullptr : &found->second;
}

}  // namespace jumplark::atspi
