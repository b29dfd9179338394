#pragma once

#include <optional>
#include <vector>

#include "backends/linux/atspi/menus/MenuFacts.h"
#include "backends/linux/atspi/reading/Snapshot.h"

namespace jumplark::atspi {

/// Something to choose that stands in an open menu or list.
struct PopoverItem {
  MenuItemFacts item;                  ///< with what it shows for a name
  ElementRef holder;                   ///< what opens the menu; empty for that of what the pointer or keyboard was on
  std::optional<MenuItemFacts> title;  ///< of the holder, if that has a name
  std::optional<int> steps;            ///< of an entry of a list: down from the one that is selected
  std::optional<Rect> place;           ///< of an entry
};

/// What stands in the popovers of a snapshot, and the menu items that lie in these windows of pop-ups, in the order of
/// the document.
std::vector<PopoverItem> itemsOfPopovers(const Snapshot& snapshot, const std::vector<Rect>& popups);

}  // namespace jumplark::atspi
