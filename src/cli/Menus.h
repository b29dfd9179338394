#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Menus.h"

/// What commands of the command line do with those of menus, on the installed platform.
namespace jumplark::cli {

/// All commands of an application's menus; none where it tells of none.
std::vector<MenuCommand> commandsOfMenus(int32_t pid);
/// The one that fits the query best, by its own title or by its whole path; null when none does.
const MenuCommand* bestCommand(const std::vector<MenuCommand>& commands, const std::string& query);
/// "Edit ▸ Preferences…"
std::string pathOf(const MenuCommand& command);

}  // namespace jumplark::cli
