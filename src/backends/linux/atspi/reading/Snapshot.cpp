#include "backends/linux/atspi/reading/Snapshot.h"

namespace jumplark::atspi {

std::vector<ElementRef> Snapshot::inDocumentOrder() const {
  std::vector<ElementRef> order;
  std::vector<ElementRef> stack{application};
  while (!stack.empty() && order.size() <= elements.size()) {
    const ElementRef next = stack.back();
    stack.pop_back();
    const auto found = elements.find(next);
    if (found == elements.end()) {
      continue;
    }
    order.push_back(next);
    const auto& children = found->second->children;
    stack.insert(stack.end(), children.rbegin(), children.rend());
  }
  return order;
}

}  // namespace jumplark::atspi
