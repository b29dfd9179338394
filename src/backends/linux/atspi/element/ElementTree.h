#pragma once

#include <unordered_map>
#include <vector>

#include "backends/linux/atspi/element/Clip.h"
#include "backends/linux/atspi/element/ElementDraft.h"

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
    Clip clip;
  };

  ElementTree() = default;
  ElementTree(const ElementDraft& elements, const ElementRef& root);

  int size() const { return static_cast<int>(nodes_.size()); }
  /// How many of the first nodes are reached from the root.
  size_t inDocumentOrder() const { return inOrder_; }
  const Node& operator[](int index) const { return nodes_[static_cast<size_t>(index)]; }
  const std::vector<Node>& nodes() const { return nodes_; }
  /// kNone for an element that is not in it.
  int find(const ElementRef& element) const;

 private:
  bool add(FactsPointer facts, int parent);

  std::vector<Node> nodes_;
  std::unordered_map<ElementRef, int, ElementRefHash> indexes_;
  size_t inOrder_ = 0;
};

}  // namespace jumplark::atspi
