#pragma once

#include <unordered_map>
#include <utility>
#include <vector>

#include "backends/linux/atspi/element/ElementFacts.h"

namespace jumplark::atspi {

/// The elements of one application, each with the index of its parent, which comes before it: no way up or down has a
/// circle, whatever the application said.
///
/// What is reached from the root comes first, in document order (depth first, children in order), each element below
/// the first parent that names it. All else that is known follows.
class ElementTree {
 public:
  static constexpr int kNone = -1;
  /// How far up climbs go where applications are asked for parents, one after the other; real trees hold circles.
  static constexpr int kMostAncestors = 100;
  struct Node {
    FactsPointer facts;
    int parent = kNone;
  };

  ElementTree() = default;
  /// `elements` maps references to pointers to facts.
  template <typename Map>
  ElementTree(const Map& elements, const ElementRef& root) {
    nodes_.reserve(elements.size());
    indexes_.reserve(elements.size());
    std::vector<std::pair<ElementRef, int>> stack{{root, kNone}};
    while (!stack.empty()) {
      const auto [ref, parent] = std::move(stack.back());
      stack.pop_back();
      if (const auto found = elements.find(ref); found != elements.end() && add(found->second, parent)) {
        const int self = size() - 1;
        const std::vector<ElementRef>& children = found->second->children;
        for (auto child = children.rbegin(); child != children.rend(); ++child) {
          stack.emplace_back(*child, self);
        }
      }
    }
    inOrder_ = nodes_.size();
    for (const auto& [ref, facts] : elements) {
      add(facts, find(facts->parent));
    }
  }

  int size() const { return static_cast<int>(nodes_.size()); }
  /// How many of the first nodes are reached from the root.
  size_t inDocumentOrder() const { return inOrder_; }
  const Node& operator[](int index) const { return nodes_[static_cast<size_t>(index)]; }
  const std::vector<Node>& nodes() const { return nodes_; }
  /// kNone for an element that is not in it.
  int find(const ElementRef& element) const {
    const auto found = indexes_.find(element);
    return found == indexes_.end() ? kNone : found->second;
  }

 private:
  bool add(FactsPointer facts, int parent) {
    const bool isNew = indexes_.emplace(facts->ref, size()).second;
    if (isNew) {
      nodes_.push_back({std::move(facts), parent});
    }
    return isNew;
  }

  std::vector<Node> nodes_;
  std::unordered_map<ElementRef, int, ElementRefHash> indexes_;
  size_t inOrder_ = 0;
};

}  // namespace jumplark::atspi
