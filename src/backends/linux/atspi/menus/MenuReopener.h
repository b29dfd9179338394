#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "backends/linux/atspi/menus/MenuCommands.h"
#include "backends/linux/atspi/menus/MenuOpener.h"

namespace jumplark::atspi {

/// Chooses commands that are gone with their menu: has the menu opened the way it was, and clicks the command where it
/// shows then.
class MenuReopener {
 public:
  /// What is open now of the menus that a command was read with.
  using Look = std::function<std::vector<MenuCommand>(const AtspiMenuHandle& command, TimePoint deadline)>;
  MenuReopener(MenuOpener& opener, const MenuHands& hands, Look look)
      : opener_(opener), hands_(hands), look_(std::move(look)) {}

  /// `command` has an opening. Whatever has opened is closed again where that was not it.
  MenuOutcome choose(const AtspiMenuHandle& command, TimePoint deadline);

 private:
  /// False for a way in which nothing can be opened.
  bool open(const AtspiMenuHandle& command, bool byPointer);
  /// The same command in a menu that is open now; null when none comes until the deadline.
  std::shared_ptr<const AtspiMenuHandle> waitFor(const AtspiMenuHandle& command, TimePoint deadline);

  MenuOpener& opener_;
  const MenuHands& hands_;
  const Look look_;
  size_t alreadyOpen_ = 0;  ///< titles on the way whose submenus have been opened
};

}  // namespace jumplark::atspi
