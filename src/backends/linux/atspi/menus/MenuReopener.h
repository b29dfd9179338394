#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "backends/linux/atspi/menus/MenuCommands.h"
#include "backends/linux/atspi/menus/MenuOpener.h"

namespace jumplark::atspi {

/// Chooses commands that are gone with their menu: has the menu opened the way it was, and clicks the command where it
/// shows then.
class MenuReopener {
 public:
  /// What is open now of the menus that a command was read with.
  using Look = std::function<std::vector<MenuCommand>(const AtspiMenuHandle& command, TimePoint deadline)>;
  /// Carries out a command that is open; false when it could not.
  using Act = std::function<bool(const AtspiMenuHandle& command)>;
  /// `act` may be empty; else commands are clicked only if that fails.
  MenuReopener(MenuOpener& opener, const MenuHands& hands, Look look, Act act)
      : opener_(opener), hands_(hands), look_(std::move(look)), act_(std::move(act)) {}

  /// `command` has an opening. Whatever has opened is closed again where that was not it.
  MenuOutcome choose(const AtspiMenuHandle& command, TimePoint deadline);

 private:
  /// False for a way in which nothing can be opened.
  bool open(const AtspiMenuHandle& command, bool byPointer);
  /// The same command in a menu that is open now; null when none comes until the deadline.
  std::shared_ptr<const AtspiMenuHandle> waitFor(const AtspiMenuHandle& command, TimePoint deadline);
  /// Has a menu that shows one page at a time show the page of the command, once each that may be that.
  void turnPage(const AtspiMenuHandle& command, const std::vector<MenuCommand>& open);

  MenuOpener& opener_;
  const MenuHands& hands_;
  const Look look_;
  const Act act_;
  std::set<std::string> turned_;
  size_t alreadyOpen_ = 0;  ///< titles on the way whose submenus have been opened
};

}  // namespace jumplark::atspi
