#include <algorithm>

#include "backends/linux/menus/MenuSource.h"

namespace jumplark::menus {

void MenuSink::add(MenuCommand command) {
  if (isFull() || toldOpen_.contains(command.path)) {
    return;
  }
  if (const auto open = std::ranges::find(open_, command.path, &MenuCommand::path); open != open_.end()) {
    command.isOpen = true;
    open_.erase(open);
  }
  std::vector<std::string> menu = command.path;
  for (menu.pop_back(); !menu.empty() && menus_.insert(menu).second; menu.pop_back()) {
  }
  ++count_;
  kept_.push_back(std::move(command));
}

void MenuSink::tellOpen() {
  std::set<std::vector<std::string>> told;
  for (MenuCommand& command : std::exchange(open_, {})) {
    // What opens a menu does not always say so.
    if (!menus_.contains(command.path)) {
      told.insert(command.path);
      add(std::move(command));
    }
  }
  toldOpen_.merge(told);
  flush();
}

}  // namespace jumplark::menus
