#pragma once

#include <string>
#include <vector>

#include "backends/linux/atspi/menus/MenuTree.h"
#include "backends/linux/menus/MenuSource.h"

namespace jumplark::atspi {

/// By which a command that an element offers is known again.
struct AtspiMenuHandle final : MenuCommandHandle {
  menus::MenuRequest menus;  ///< in which it was read
  /// The elements whose names are the command's path; its own is the last.
  std::vector<ElementRef> way;
  std::vector<std::string> names;  ///< of those, as they were told
  uint32_t role = 0;
  bool canAct = false;        ///< else its menus must be opened for it
  bool areStatesOld = false;  ///< what it says of itself is as its menu showed it last
};

/// The command that a node of the tree is, for people.
MenuCommand menuCommand(const MenuTree& tree, int node, const menus::MenuRequest& request, bool areStatesOld);

/// The keys of a command for people, from what its toolkit says of its action: "n;<Alt>f:n;<Primary>n", of which the
/// last part is its shortcut, or "Ctrl+N". `name` is the command's: where there is no shortcut some toolkits tell the
/// mnemonic, which is one of its letters with Alt.
std::string menuKeys(const std::string& told, const std::string& name);

}  // namespace jumplark::atspi
