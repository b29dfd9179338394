#include "backends/linux/menus/MenuSource.h"

namespace jumplark::menus {

void MenuSink::add(MenuCommand command) {
  if (isFull() || toldOpen_.contains(command.path)) {
    return;
  }
  if (const auto better = better_.find(command.path); better != better_.end() && better->second.isEnabled) {
    // Of one that cannot be chosen it may not have been told that it can again.
    const MenuCommand& known = better->second;
    command.mark = known.mark;
    command.isOn = known.isOn;
    command.isEnabled = true;
    command.handle = known.handle;
  }
  ++count_;
  kept_.push_back(std::move(command));
}

void MenuSink::knowBetter(std::vector<MenuCommand> commands) {
  std::set<std::vector<std::string>> twice;
  for (MenuCommand& command : commands) {
    std::vector<std::string> path = command.path;
    for (std::vector<std::string> menu(path.begin(), path.end() - 1); !menu.empty(); menu.pop_back()) {
      if (!menus_.insert(menu).second) {
        break;
      }
    }
    if (!better_.emplace(path, std::move(command)).second) {
      twice.insert(std::move(path));
    }
  }
  for (const auto& path : twice) {
    better_.erase(path);
  }
}

void MenuSink::tellOpen(std::vector<MenuCommand> commands) {
  std::set<std::vector<std::string>> told;
  for (MenuCommand& command : commands) {
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
