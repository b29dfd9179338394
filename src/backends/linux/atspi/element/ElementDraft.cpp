#include "backends/linux/atspi/element/ElementDraft.h"

namespace jumplark::atspi {

ElementDraft::Pointer ElementDraft::claim(const ElementRef& element, const ElementRef& parent) {
  Pointer& slot = elements_[element];
  if (slot) {
    return nullptr;
  }
  slot = std::make_shared<ElementFacts>();
  slot->ref = element;
  slot->parent = parent;
  return slot;
}

void ElementDraft::add(ElementFacts facts) {
  const ElementRef element = facts.ref;
  elements_[element] = std::make_shared<ElementFacts>(std::move(facts));
}

void ElementDraft::reparent(const ElementRef& element, const ElementRef& parent) {
  ElementFacts* child = find(element);
  ElementFacts* holder = find(parent);
  if (!child || !holder || child == holder || child->parent == parent) {
    return;
  }
  if (ElementFacts* before = find(child->parent)) {
    std::erase(before->children, element);
  }
  holder->children.push_back(element);
  child->parent = parent;
}

ElementDraft::Pointer ElementDraft::share(const ElementRef& element) const {
  const auto found = elements_.find(element);
  return found == elements_.end() ? nullptr : found->second;
}

std::vector<ElementFacts*> ElementDraft::childrenOf(const ElementFacts& element) const {
  std::vector<ElementFacts*> children;
  children.reserve(element.children.size());
  for (const ElementRef& ref : element.children) {
    if (ElementFacts* child = find(ref)) {
      children.push_back(child);
    }
  }
  return children;
}

}  // namespace jumplark::atspi
