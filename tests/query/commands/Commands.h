#pragma once

#include <sstream>

#include "query/commands/CommandIndex.h"

namespace jumplark::testing {

/// "Edit > Preferences…" in a sentence of a test; a leading "-" disables it, "*" opens its menu.
inline MenuCommand commandOf(std::string text) {
  MenuCommand command;
  for (; text.front() == '-' || text.front() == '*'; text.erase(0, 1)) {
    command.isEnabled = command.isEnabled && text.front() != '-';
    command.isOpen = command.isOpen || text.front() == '*';
  }
  for (size_t end = text.find(" > "); end != std::string::npos; end = text.find(" > ")) {
    command.path.push_back(text.substr(0, end));
    text.erase(0, end + 3);
  }
  command.path.push_back(text);
  return command;
}

/// One command a line.
inline std::vector<MenuCommand> commandsOf(const std::string& lines) {
  std::vector<MenuCommand> commands;
  std::istringstream stream(lines);
  for (std::string line; std::getline(stream, line);) {
    const size_t start = line.find_first_not_of(' ');
    if (start != std::string::npos) {
      commands.push_back(commandOf(line.substr(start)));
    }
  }
  return commands;
}

}  // namespace jumplark::testing
