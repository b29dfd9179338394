#include "backends/linux/atspi/toolkits/swing/NestedEntries.h"

#include <utility>
#include <vector>

#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {
namespace {

class Reparenting {
 public:
  Reparenting(ElementFacts& tree, FactsMap& elements) : tree_(tree), elements_(elements) {}

  void run() {
    for (const ElementRef& child : std::exchange(tree_.children, {})) {
      reparent(child);
    }
    tree_.childCount = static_cast<int64_t>(tree_.children.size());
  }

 private:
  void reparent(const ElementRef& ref) {
    ElementFacts* entry = find(ref, elements_);
    if (!entry) {
      return;
    }
    tree_.children.push_back(ref);
    entry->parent = tree_.ref;
    if (entry->role == role::label) {
      entry->childCount = 0;
      for (const ElementRef& child : std::exchange(entry->children, {})) {
        reparent(child);
      }
    }
  }

  ElementFacts& tree_;
  FactsMap& elements_;
};

}  // namespace

void reparentNestedEntries(FactsMap& elements) {
  for (const auto& [ref, element] : elements) {
    if (element->role == role::tree && !element->children.empty()) {
      Reparenting(*element, elements).run();
    }
  }
}

}  // namespace jumplark::atspi
