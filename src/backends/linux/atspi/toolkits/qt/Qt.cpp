#include "backends/linux/atspi/toolkits/qt/Qt.h"

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/AccessibleNames.h"
#include "backends/linux/atspi/toolkits/qt/Occlusion.h"
#include "platform/Texts.h"

namespace jumplark::atspi {

Point Qt::originIn(const WindowFacts& window, const Rect& reportedFrame) const {
  if (window.knowsItsPlace) {
    return {};
  }
  // Its own decorations are as thick at the bottom as at the sides.
  const double side = (window.surface.width - reportedFrame.width) / 2;
  return {window.surface.x + side, window.surface.maxY() - reportedFrame.height - side};
}

bool Qt::isLeaf(uint32_t number) const {
  return number == role::checkBox || number == role::radioButton;
}

bool Qt::isPlain(uint32_t number) const {
  switch (number) {
    case role::pushButton:
    case role::checkBox:
    case role::radioButton:
    case role::pageTab:
    case role::menuItem:
    case role::filler:
      return true;
    default:
      return false;
  }
}

bool Qt::mayHaveOpenMenu(const ElementFacts& element) const {
  return element.role == role::pushButton && element.childCount == 0 && element.is(state::pressed);
}

void Qt::nameControls(FactsMap& elements) const {
  for (const auto& [ref, bar] : elements) {
    if (bar->role != role::toolBar || bar->children.empty()) {
      continue;
    }
    ElementFacts* first = find(bar->children.front(), elements);
    // In a main window it opens the tool bar, elsewhere a menu.
    if (first && !hasWords(*first) && (first->role == role::checkBox || first->role == role::pushButton)) {
      first->name = localized("More");
      first->description = ">>";
    }
  }
}

void Qt::hideOccluded(FactsMap& elements) const {
  hideOccludedItems(elements);
}

}  // namespace jumplark::atspi
