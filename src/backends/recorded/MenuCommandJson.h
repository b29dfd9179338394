#pragma once

#include <nlohmann/json_fwd.hpp>
#include <vector>

#include "platform/Menus.h"

/// Commands of menus as recordings have them: {"path": ["Edit", "Copy"], "keys": "Control+C", "mark": "check",
/// "on": true, "enabled": false, "open": true}; what is as usual is left out.
namespace jumplark::menu_command_json {

nlohmann::json toJson(const std::vector<MenuCommand>& commands);
/// Without handles. Throws std::invalid_argument with a text for people.
std::vector<MenuCommand> fromJson(const nlohmann::json& list);

}  // namespace jumplark::menu_command_json
