#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/atspi/menus/MenuTree.h"
#include "backends/linux/menus/MenuSource.h"

namespace jumplark::atspi {

/// How a menu can be opened again that may be gone once it is closed. Points have a top-left origin.
struct MenuOpening {
  ElementRef holder;         ///< opens it when it is clicked; empty for the menu of what the pointer or keyboard was on
  std::optional<Point> box;  ///< where the box shows whose list it is, if that is no element
  Point place;               ///< where the pointer opened it, if it did
  bool isByPointer = false;  ///< else a key may have opened it
  /// Where the pointer was, if that tells what has opened it and nobody knew yet what is there.
  std::optional<Point> pressedAt;
  TimePoint readAt;                                    ///< when it was open
  std::shared_ptr<std::vector<std::string>> together;  ///< the names of all that was open with it; may be null
};

/// By which a command that an element offers is known again.
struct AtspiMenuHandle final : MenuCommandHandle {
  menus::MenuRequest menus;  ///< in which it was read
  /// The elements whose names are the command's path; its own is the last.
  std::vector<ElementRef> way;
  std::vector<std::string> names;  ///< of those, as they were told
  uint32_t role = 0;
  bool canAct = false;                 ///< else its menus must be opened for it
  bool areStatesOld = false;           ///< what it says of itself is as its menu showed it last
  std::optional<MenuOpening> opening;  ///< of a menu that was open
  std::optional<int> steps;            ///< of an entry of an open list: down from the one that is selected
  std::optional<Rect> place;           ///< of such an entry
};

/// A command's element and those that lead to it.
struct MenuEntry {
  std::vector<const MenuItemFacts*> way;  ///< whose names are the path; its own is the last
  std::string keys;
  bool canAct = false;
};
MenuEntry menuEntry(const MenuTree& tree, int node);
/// The command that it is for people. The handle lacks its opening.
std::pair<MenuCommand, std::shared_ptr<AtspiMenuHandle>> menuCommand(const MenuEntry& entry,
                                                                     const menus::MenuRequest& request,
                                                                     bool areStatesOld);

/// The keys of a command for people, from what its toolkit says of its action: "n;<Alt>f:n;<Primary>n", of which the
/// last part is its shortcut, or "Ctrl+N". `name` is the command's: where there is no shortcut some toolkits tell the
/// mnemonic, which is one of its letters with Alt.
std::string menuKeys(const std::string& told, const std::string& name);

}  // namespace jumplark::atspi
