#include "backends/linux/atspi/reading/Popups.h"

#include <algorithm>

#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {
namespace {

bool isListOrMenu(uint32_t number) {
  return role::isOneOf<role::menu, role::popupMenu, role::list, role::listBox, role::tree, role::treeTable,
                       role::table>(number);
}

bool isMenuEntry(uint32_t number) {
  return role::isOneOf<role::menu, role::menuItem, role::checkMenuItem, role::radioMenuItem>(number);
}

/// A button of GTK 3's that opens a menu has the entries themselves for children, and says whether they show. One of
/// Qt's that has an arrow for its menu beside it has the menu.
void reparentMenuOfButton(const ElementRef& frame, const ElementFacts& button, ElementDraft& elements) {
  const std::vector<ElementRef> children = button.children;
  for (const ElementRef& child : children) {
    ElementFacts* entry = elements.find(child);
    if (entry && (isMenuEntry(entry->role) || entry->role == role::popupMenu) && entry->is(state::showing) &&
        entry->extents) {
      if (entry->role == role::menu) {
        // Below the window it would be the open menu itself, not the entry that opens it.
        entry->role = role::menuItem;
      }
      elements.reparent(child, frame);
    }
  }
}

}  // namespace

bool isOpenPopup(const FrameFacts& frame, const std::vector<MatchedFrame>& matched) {
  const bool isKind = frame.role == role::window || frame.role == role::menu || frame.role == role::popupMenu;
  const bool shows = ((frame.states >> static_cast<unsigned>(state::showing)) & 1U) != 0;
  return isKind && shows && std::none_of(matched.begin(), matched.end(), [&](const MatchedFrame& one) {
           return one.frame.element == frame.element;
         });
}

void reparentPopups(const ElementRef& frame, const std::vector<ElementRef>& popups, ElementDraft& elements) {
  std::vector<ElementRef> found = popups;
  std::vector<const ElementFacts*> buttons;
  for (const auto& [ref, element] : elements) {
    if ((element->role == role::toggleButton || element->role == role::pushButton) && !element->children.empty()) {
      buttons.push_back(element.get());
    }
    const ElementFacts* above = elements.find(element->parent);
    if (above && above->role == role::comboBox && isListOrMenu(element->role) && element->is(state::showing) &&
        element->extents && !(above->extents && *above->extents == *element->extents)) {
      found.push_back(ref);
    }
  }
  for (const ElementRef& popup : found) {
    elements.reparent(popup, frame);
  }
  for (const ElementFacts* button : buttons) {
    reparentMenuOfButton(frame, *button, elements);
  }
}

}  // namespace jumplark::atspi
