#include "backends/recorded/MenuCommandJson.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>

#include "platform/Texts.h"
#include "platform/Utf8.h"

namespace jumplark::menu_command_json {
namespace {

using nlohmann::json;
using Mark = MenuCommand::Mark;

constexpr std::pair<const char*, Mark> kMarks[] = {{"check", Mark::check}, {"radio", Mark::radio}};
/// Members that say yes or no, and what they are without being there.
constexpr std::pair<const char*, bool> kFlags[] = {{"on", false}, {"enabled", true}, {"open", false}};

bool& flagOf(MenuCommand& command, const std::string& name) {
  return name == "on" ? command.isOn : name == "enabled" ? command.isEnabled : command.isOpen;
}

bool isPath(const json& value) {
  const auto isTitle = [](const json& title) {
    return title.is_string() && !title.get_ref<const std::string&>().empty();
  };
  return value.is_array() && !value.empty() && std::ranges::all_of(value, isTitle);
}

MenuCommand commandFrom(const json& entry) {
  if (!entry.is_object() || !entry.contains("path") || !isPath(entry["path"])) {
    throw std::invalid_argument(localized("each command must be an object with a \"path\" of titles"));
  }
  MenuCommand command;
  command.path = entry["path"].get<std::vector<std::string>>();
  if (const auto keys = entry.find("keys"); keys != entry.end()) {
    if (!keys->is_string()) {
      throw std::invalid_argument(localized("the \"keys\" of a command must be a text"));
    }
    command.keys = keys->get<std::string>();
  }
  if (const auto mark = entry.find("mark"); mark != entry.end()) {
    const auto* const known = std::ranges::find_if(kMarks, [&](const auto& one) { return *mark == one.first; });
    if (known == std::end(kMarks)) {
      throw std::invalid_argument(localized("the \"mark\" of a command must be \"check\" or \"radio\""));
    }
    command.mark = known->second;
  }
  for (const auto& [name, usual] : kFlags) {
    if (const auto flag = entry.find(name); flag != entry.end()) {
      if (!flag->is_boolean()) {
        throw std::invalid_argument(localizedFormat("\"{}\" of a command must be true or false", name));
      }
      flagOf(command, name) = flag->get<bool>();
    }
  }
  return command;
}

}  // namespace

json toJson(const std::vector<MenuCommand>& commands) {
  json list = json::array();
  for (MenuCommand command : commands) {
    json entry = json::object();
    for (const std::string& title : command.path) {
      entry["path"].push_back(wellFormedUtf8(title));
    }
    if (!command.keys.empty()) {
      entry["keys"] = wellFormedUtf8(command.keys);
    }
    for (const auto& [name, mark] : kMarks) {
      if (command.mark == mark) {
        entry["mark"] = name;
      }
    }
    for (const auto& [name, usual] : kFlags) {
      if (flagOf(command, name) != usual) {
        entry[name] = !usual;
      }
    }
    list.push_back(std::move(entry));
  }
  return list;
}

std::vector<MenuCommand> fromJson(const json& list) {
  if (!list.is_array()) {
    throw std::invalid_argument(localized("\"menus\" must be a list of commands"));
  }
  std::vector<MenuCommand> commands;
  for (const json& entry : list) {
    commands.push_back(commandFrom(entry));
  }
  return commands;
}

}  // namespace jumplark::menu_command_json
