#include "backends/linux/atspi/menus/MenuCommands.h"

#include <memory>
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

MenuCommand menuCommand(const MenuTree& tree, int node, const menus::MenuRequest& request, bool areStatesOld) {
  const MenuTree::Node& item = tree[node];
  auto handle = std::make_shared<AtspiMenuHandle>();
  MenuCommand command;
  for (const int step : tree.wayTo(node)) {
    const MenuItemFacts& facts = tree[step].facts;
    command.path.push_back(menus::menuTitle(facts.name));
    handle->way.push_back(facts.ref);
    handle->names.push_back(facts.name);
  }
  handle->menus = request;
  handle->role = item.facts.role;
  handle->canAct = item.canAct;
  handle->areStatesOld = areStatesOld;
  command.keys = item.keys;
  command.mark = markOf(item.facts);
  command.isOn = item.facts.is(state::checked);
  command.isEnabled = item.facts.isEnabled() || areStatesOld;
  command.isOpen = item.facts.is(state::showing);
  command.handle = std::move(handle);
  return command;
}

}  // namespace jumplark::atspi
