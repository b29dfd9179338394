#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Menus.h"

/// What commands of the command line do with those of menus, on the installed platform.
namespace jumplark::cli {

/// All commands of an application's menus; none where it tells of none.
std::vector<MenuCommand> commandsOfMenus(int32_t pid);
/// The one that the query window would choose first; none when the query finds none.
std::optional<MenuCommand> bestCommand(std::vector<MenuCommand> commands, const std::string& query);
/// "Edit ▸ Preferences…"
std::string pathOf(const MenuCommand& command);

}  // namespace jumplark::cli
