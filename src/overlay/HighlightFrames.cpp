#include "overlay/HighlightFrames.h"

#include <algorithm>

#include "accessibility/JLElement.h"
#include "tree/JLElementNode.h"
#include "tree/JLElementTree.h"

namespace jumplark {

Rect VisibleBoundsReader::boundsOf(const std::shared_ptr<JLElement>& element) {
  if (!element) {
    return {};
  }
  return element->role() == "AXMenuBarItem" ? element->bounds() : visibleBoundsOf(element);
}

Rect VisibleBoundsReader::visibleBoundsOf(const std::shared_ptr<JLElement>& element) {
  // Upwards to the first that is known, or to the top; a ring of parents ends where it closes.
  std::vector<std::shared_ptr<JLElement>> path;
  std::shared_ptr<JLElement> step = element;
  const auto isOnPath = [&](const auto& other) { return other == step || *other == *step; };
  while (step && !known_.contains(step) && std::none_of(path.begin(), path.end(), isOnPath)) {
    path.push_back(step);
    step = step->parent();
  }
  const auto above = step ? known_.find(step) : known_.end();
  Rect visible = above != known_.end() ? above->second : Rect::infinite();
  bool isTop = above == known_.end();
  for (auto next = path.rbegin(); next != path.rend(); ++next) {
    const Rect own = (*next)->bounds();
    if (own.isNull()) {
      visible = own;
    } else if (!isTop) {
      visible = intersection(own, visible);
    }
    isTop = false;
    known_.emplace(*next, visible);
  }
  return visible;
}

std::vector<Rect> HighlightFrames::framesOf(const HighlightOptionMap& elements,
                                            const std::function<bool()>& isUnwanted) {
  const std::shared_ptr<JLElementNode> first = elements.empty() ? nullptr : elements.front().first.node();
  const std::shared_ptr<JLElementTree> tree = first ? first->rootTree()->shared_from_this() : nullptr;
  std::vector<Rect> frames(elements.size());
  std::vector<size_t> missing = takeKnown(tree, elements, frames);
  VisibleBoundsReader reader;
  for (size_t done = 0; done < missing.size(); ++done) {
    if (isUnwanted()) {
      missing.resize(done);
      break;
    }
    const auto& node = elements[missing[done]].first.node();
    frames[missing[done]] = node ? reader.boundsOf(node->element()) : Rect{};
  }
  const std::lock_guard lock(mutex_);
  for (const size_t i : missing) {
    const auto& node = elements[i].first.node();
    if (isOfTree(tree) && node && node->rootTree() == tree.get()) {
      known_.emplace(node.get(), frames[i]);
    }
  }
  return frames;
}

std::vector<size_t> HighlightFrames::takeKnown(const Tree& tree, const HighlightOptionMap& elements,
                                               std::vector<Rect>& frames) {
  std::vector<size_t> missing;
  const std::lock_guard lock(mutex_);
  if (!isOfTree(tree)) {
    known_.clear();
    tree_ = tree;
  }
  for (size_t i = 0; i < elements.size(); ++i) {
    const auto found = known_.find(elements[i].first.node().get());
    if (found == known_.end()) {
      missing.push_back(i);
    } else {
      frames[i] = found->second;
    }
  }
  return missing;
}

bool HighlightFrames::isOfTree(const Tree& tree) const {
  // By identity: a tree that is gone differs from one that was made since in the same place.
  return !tree_.owner_before(tree) && !tree.owner_before(tree_);
}

void HighlightFrames::forget() {
  const std::lock_guard lock(mutex_);
  known_.clear();
  tree_.reset();
}

}  // namespace jumplark
