#include "backends/linux/atspi/element/ElementTree.h"

#include <utility>

namespace jumplark::atspi {

ElementTree::ElementTree(const ElementDraft& elements, const ElementRef& root) {
  nodes_.reserve(elements.size());
  indexes_.reserve(elements.size());
  std::vector<std::pair<FactsPointer, int>> stack{{elements.share(root), kNone}};
  while (!stack.empty()) {
    const auto [facts, parent] = std::move(stack.back());
    stack.pop_back();
    if (facts && add(facts, parent)) {
      const int self = size() - 1;
      for (auto child = facts->children.rbegin(); child != facts->children.rend(); ++child) {
        stack.emplace_back(elements.share(*child), self);
      }
    }
  }
  inOrder_ = nodes_.size();
  for (const auto& [ref, facts] : elements) {
    add(facts, find(facts->parent));
  }
}

int ElementTree::find(const ElementRef& element) const {
  const auto found = indexes_.find(element);
  return found == indexes_.end() ? kNone : found->second;
}

bool ElementTree::add(FactsPointer facts, int parent) {
  const bool isNew = indexes_.emplace(facts->ref, size()).second;
  if (isNew) {
    const Node* above = parent == kNone ? nullptr : &nodes_[static_cast<size_t>(parent)];
    const Clip clip = above ? clipInside(*above->facts, above->clip, *facts) : Clip{};
    nodes_.push_back({std::move(facts), parent, clip});
  }
  return isNew;
}

}  // namespace jumplark::atspi
