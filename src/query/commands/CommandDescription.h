#pragma once

#include <string>

#include "platform/Views.h"
#include "query/commands/CommandIndex.h"

namespace jumplark {

/// The row of a command that a query has found. `query` is the one that found it.
CommandRow commandRow(const MenuCommand& command, const CommandTexts& texts, CommandQuery& query);

/// What a screen reader says of a command: its title, the menus that it is in, its state and its keys.
std::string commandDescription(const MenuCommand& command);

}  // namespace jumplark
