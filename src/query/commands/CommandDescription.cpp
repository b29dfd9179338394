#include "query/commands/CommandDescription.h"

#include "platform/Texts.h"
#include "platform/Utf8.h"

namespace jumplark {
namespace {

constexpr const char* kInto = " ▸ ";
/// Units that it has more than the space which stands for it where a query is scored.
constexpr size_t kIntoSurplus = 2;

std::vector<Range> rangesOf(const std::vector<size_t>& places) {
  std::vector<Range> ranges;
  for (const size_t place : places) {
    const auto at = static_cast<int64_t>(place);
    if (ranges.empty() || ranges.back().location + ranges.back().length != at) {
      ranges.push_back({at, 0});
    }
    ++ranges.back().length;
  }
  return ranges;
}

/// The places in the path as it is shown.
std::vector<size_t> placesInPath(const MenuCommand& command, const std::vector<size_t>& scored) {
  std::vector<size_t> places = scored;
  size_t end = 0;  // of a menu's title where the query is scored
  for (size_t menu = 0; menu + 1 < command.path.size(); ++menu) {
    end += static_cast<size_t>(utf16Length(command.path[menu])) + (menu > 0 ? 1 : 0);
    for (size_t i = 0; i < scored.size(); ++i) {
      places[i] += scored[i] > end ? kIntoSurplus : 0;
    }
  }
  return places;
}

const char* stateOf(const MenuCommand& command) {
  switch (command.mark) {
    case MenuCommand::Mark::check:
      return command.isOn ? localized("checked") : localized("not checked");
    case MenuCommand::Mark::radio:
      return command.isOn ? localized("selected") : localized("not selected");
    case MenuCommand::Mark::none:
      break;
  }
  return "";
}

}  // namespace

CommandRow commandRow(const MenuCommand& command, const CommandTexts& texts, CommandQuery& query) {
  CommandRow row;
  for (size_t i = 0; i + 1 < command.path.size(); ++i) {
    row.path += (i > 0 ? kInto : "") + command.path[i];
  }
  row.title = command.path.back();
  const CommandQuery::Places places = query.placesIn(texts);
  row.pathMarks = rangesOf(placesInPath(command, places.menus));
  row.titleMarks = rangesOf(places.title);
  row.keys = command.keys;
  row.mark = command.mark;
  row.isOn = command.isOn;
  row.isEnabled = command.isEnabled;
  return row;
}

std::string commandDescription(const MenuCommand& command) {
  std::string description = command.path.back();
  const auto add = [&description](const std::string& part) { description += part.empty() ? "" : ", " + part; };
  for (size_t i = 0; i + 1 < command.path.size(); ++i) {
    add(command.path[i]);
  }
  add(stateOf(command));
  add(command.isEnabled ? "" : localized("not available"));
  add(command.keys);
  return description;
}

}  // namespace jumplark
