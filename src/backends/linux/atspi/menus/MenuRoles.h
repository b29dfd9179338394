#pragma once

#include "backends/linux/atspi/element/Roles.h"

/// What the roles of elements are in something that is open.
namespace jumplark::atspi::menu_role {

inline bool holdsItems(uint32_t number) {
  return role::isOneOf<role::popupMenu, role::window, role::list, role::listBox, role::table, role::tree,
                       role::treeTable, role::panel, role::filler, role::scrollPane, role::viewport, role::rootPane,
                       role::layeredPane>(number);
}

inline bool isItem(uint32_t number) {
  return role::isOneOf<role::menu, role::menuItem, role::checkMenuItem, role::radioMenuItem, role::checkBox,
                       role::radioButton, role::listItem, role::tableCell, role::treeItem>(number);
}

/// What stands in a list. Its action is about its being selected there, which chooses nothing.
inline bool isEntry(uint32_t number) {
  return role::isOneOf<role::listItem, role::tableCell, role::treeItem, role::label>(number);
}

inline bool isList(uint32_t number) {
  return role::isOneOf<role::list, role::listBox, role::table, role::tree, role::treeTable>(number);
}

inline bool opensByItself(uint32_t number) {
  return role::isOneOf<role::window, role::menu, role::popupMenu>(number);
}

inline bool isButton(uint32_t number) {
  return role::isOneOf<role::pushButton, role::toggleButton, role::pushButtonMenu>(number);
}

}  // namespace jumplark::atspi::menu_role
