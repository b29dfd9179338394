#pragma once

#include <algorithm>

#include "backends/linux/menus/MenuSource.h"

namespace jumplark::menus {

/// "Edit>Cut Control+X [x] disabled open": a command on one line.
inline std::string oneLine(const MenuCommand& command) {
  std::string line;
  for (const std::string& title : command.path) {
    line += (line.empty() ? "" : ">") + title;
  }
  line += command.keys.empty() ? "" : " " + command.keys;
  using Mark = MenuCommand::Mark;
  line += command.mark == Mark::none    ? ""
          : command.mark == Mark::check ? (command.isOn ? " [x]" : " [ ]")
                                        : (command.isOn ? " (o)" : " ( )");
  line += command.isEnabled ? "" : " disabled";
  return line + (command.isOpen ? " open" : "");
}

inline std::vector<std::string> linesOf(const std::vector<MenuCommand>& commands) {
  std::vector<std::string> lines(commands.size());
  std::ranges::transform(commands, lines.begin(), oneLine);
  return lines;
}

/// Everything that a source tells of a window.
inline std::vector<MenuCommand> commandsOf(MenuSource& source, const MenuRequest& request) {
  std::vector<MenuCommand> all;
  const auto add = [&](std::vector<MenuCommand> commands) { all.insert(all.end(), commands.begin(), commands.end()); };
  MenuSink sink(add, [] { return true; });
  source.read(request, sink);
  add(sink.rest());
  return all;
}

/// Enough on any machine.
inline TimePoint later() {
  return Clock::now() + std::chrono::seconds(20);
}

}  // namespace jumplark::menus
