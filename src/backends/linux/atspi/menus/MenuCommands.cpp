#include "backends/linux/atspi/menus/MenuCommands.h"

#include <string_view>
#include <utility>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/menus/MenuText.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {
namespace {

MenuCommand::Mark markOf(const MenuItemFacts& facts) {
  if (facts.role == role::radioMenuItem || facts.role == role::radioButton) {
    return MenuCommand::Mark::radio;
  }
  const bool isCheck = facts.role == role::checkMenuItem || facts.role == role::checkBox ||
                       facts.is(state::checkable) || facts.is(state::checked);
  return isCheck ? MenuCommand::Mark::check : MenuCommand::Mark::none;
}

bool isMnemonic(std::string_view told, const std::string& name) {
  constexpr std::string_view kAlt = "Alt+";
  if (!told.starts_with(kAlt)) {
    return false;
  }
  told.remove_prefix(kAlt.size());
  const bool isOneCharacter = !told.empty() && utf8CharacterAt(told).bytes == told.size();
  return isOneCharacter && name.find(told) != std::string::npos;
}

}  // namespace

std::string menuKeys(const std::string& told, const std::string& name) {
  if (const size_t last = told.rfind(';'); last != std::string::npos) {
    return menus::keysFromBrackets(std::string_view(told).substr(last + 1));
  }
  if (told.starts_with('<')) {
    return menus::keysFromBrackets(told);
  }
  return isMnemonic(told, name) ? "" : menus::keysFromPlus(told);
}

MenuEntry menuEntry(const MenuTree& tree, int node) {
  MenuEntry entry;
  for (const int step : tree.wayTo(node)) {
    entry.way.push_back(&tree[step].facts);
  }
  entry.keys = tree[node].keys;
  entry.canAct = tree[node].canAct;
  return entry;
}

std::pair<MenuCommand, std::shared_ptr<AtspiMenuHandle>> menuCommand(const MenuEntry& entry,
                                                                     const menus::MenuRequest& request,
                                                                     bool areStatesOld) {
  auto handle = std::make_shared<AtspiMenuHandle>();
  MenuCommand command;
  for (const MenuItemFacts* facts : entry.way) {
    command.path.push_back(menus::menuTitle(facts->name));
    handle->way.push_back(facts->ref);
    handle->names.push_back(facts->name);
  }
  const MenuItemFacts& item = *entry.way.back();
  handle->menus = request;
  handle->role = item.role;
  handle->canAct = entry.canAct;
  handle->areStatesOld = areStatesOld;
  command.keys = entry.keys;
  command.mark = markOf(item);
  command.isOn = item.is(state::checked);
  command.isEnabled = item.isEnabled() || areStatesOld;
  command.isOpen = item.is(state::showing);
  command.handle = handle;
  return {std::move(command), std::move(handle)};
}

}  // namespace jumplark::atspi
