#pragma once

#include <unordered_map>
#include <vector>

#include "backends/linux/atspi/bus/MethodCall.h"

namespace jumplark::atspi {

/// What an application's cache holds, by element. It may lack any part of the tree, and may hold elements that are no
/// longer in it, so that children are only told where the cache is consistent about all of them.
class CachedTree {
 public:
  explicit CachedTree(std::vector<CacheItem> items);

  /// Null for an element that the cache does not hold.
  const CacheItem* find(const ElementRef& element) const;
  /// In order; null unless there are as many children as the element counts, each with an index of its own.
  const std::vector<ElementRef>* childrenOf(const ElementRef& element) const;
  /// All that name the element as their parent, whether that is all of its children or not; null without any.
  const std::vector<ElementRef>* inAnyOrder(const ElementRef& parent) const;
  size_t size() const { return items_.size(); }

 private:
  std::unordered_map<ElementRef, CacheItem, ElementRefHash> items_;
  std::unordered_map<ElementRef, std::vector<ElementRef>, ElementRefHash> children_;
  std::unordered_map<ElementRef, std::vector<ElementRef>, ElementRefHash> anyOrder_;
};

}  // namespace jumplark::atspi
