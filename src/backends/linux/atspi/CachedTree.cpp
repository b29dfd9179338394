#include "backends/linux/atspi/CachedTree.h"

#include <algorithm>
#include <map>
#include <utility>

namespace jumplark::atspi {

CachedTree::CachedTree(std::vector<CacheItem> items) {
  std::unordered_map<ElementRef, std::vector<std::pair<int32_t, ElementRef>>, ElementRefHash> byParent;
  items_.reserve(items.size());
  for (CacheItem& item : items) {
    if (item.element && items_.try_emplace(item.element, item).second && item.parent) {
      byParent[item.parent].emplace_back(item.indexInParent, item.element);
    }
  }
  for (auto& [parent, indexed] : byParent) {
    const CacheItem* above = find(parent);
    if (!above || above->childCount != static_cast<int64_t>(indexed.size())) {
      continue;
    }
    std::sort(indexed.begin(), indexed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<ElementRef> children;
    int32_t next = 0;
    for (const auto& [index, child] : indexed) {
      if (index != next++) {
        break;
      }
      children.push_back(child);
    }
    if (children.size() == indexed.size()) {
      children_.emplace(parent, std::move(children));
    }
  }
}

const CacheItem* CachedTree::find(const ElementRef& element) const {
  const auto found = items_.find(element);
  return found == items_.end() ? nullptr : &found->second;
}

const std::vector<ElementRef>* CachedTree::childrenOf(const ElementRef& element) const {
  const auto found = children_.find(element);
  return found == children_.end() ? nullptr : &found->second;
}

}  // namespace jumplark::atspi
