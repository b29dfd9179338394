#include "backends/recorded/HitTester.h"

#include <algorithm>
#include <initializer_list>

namespace jumplark {

ElementRef HitTester::elementAt(const ElementRef& root, Point point) {
  const std::vector<Box>& boxes = treeBelow(root).boxes;
  const auto top = std::find_if(boxes.rbegin(), boxes.rend(), [&](const Box& box) { return box.rect.contains(point); });
  return top == boxes.rend() ? ElementRef() : store_.all()[top->element].ref;
}

bool HitTester::holds(const ElementRef& root, const ElementRef& element) {
  const RecordedElement* found = store_.find(element);
  return found && treeBelow(root).members[store_.indexOf(*found)];
}

const HitTester::Tree& HitTester::treeBelow(const ElementRef& root) {
  const auto [entry, isNew] = trees_.try_emplace(root);
  Tree& tree = entry->second;
  if (!isNew) {
    return tree;
  }
  tree.members.resize(store_.all().size());
  std::vector<ElementRef> stack{root};
  while (!stack.empty()) {
    const RecordedElement* element = store_.find(stack.back());
    stack.pop_back();
    if (!element || !element->present || tree.members[store_.indexOf(*element)]) {
      continue;
    }
    const size_t index = store_.indexOf(*element);
    tree.members[index] = true;
    if (const auto rect = rectangle(*element); rect && element->error == AccessibilityError::success) {
      tree.boxes.push_back({*rect, index});
    }
    appendChildren(*element, stack);
  }
  return tree;
}

void HitTester::appendChildren(const RecordedElement& element, std::vector<ElementRef>& stack) const {
  const size_t first = stack.size();
  const auto append = [&](const AttributeValue& value) {
    if (value.element()) {
      stack.push_back(*value.element());
    }
  };
  if (const AttributeValue::List* children = childList(element)) {
    std::for_each(children->begin(), children->end(), append);
  } else {
    for (const char* name : {"AXFocusedWindow", "AXMenuBar"}) {
      if (const AttributeValue* child = store_.attribute(element, name)) {
        append(*child);
      }
    }
  }
  std::reverse(stack.begin() + static_cast<std::ptrdiff_t>(first), stack.end());
}

const AttributeValue::List* HitTester::childList(const RecordedElement& element) const {
  for (const char* name : {"AXChildren", "AXVisibleChildren", "AXRows", "AXVisibleRows"}) {
    const AttributeValue* children = store_.attribute(element, name);
    if (children && children->list()) {
      return children->list();
    }
  }
  return nullptr;
}

std::optional<Rect> HitTester::rectangle(const RecordedElement& element) const {
  const AttributeValue* position = store_.attribute(element, "AXPosition");
  const AttributeValue* size = store_.attribute(element, "AXSize");
  if (!position || !position->point() || !size || !size->size()) {
    return std::nullopt;
  }
  return Rect{position->point()->x, position->point()->y, size->size()->width, size->size()->height};
}

}  // namespace jumplark
