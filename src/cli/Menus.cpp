#include "cli/Menus.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "cli/Commands.h"
#include "cli/Snapshot.h"
#include "platform/Accessibility.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Texts.h"
#include "query/commands/CommandIndex.h"

namespace jumplark::cli {
namespace {

/// Platforms end by themselves long before.
constexpr std::chrono::seconds kPatience{10};

const char* nameOf(MenuCommand::Mark mark) {
  return mark == MenuCommand::Mark::check ? "check" : mark == MenuCommand::Mark::radio ? "radio" : "none";
}

nlohmann::ordered_json asJSON(const MenuCommand& command) {
  return {{"path", command.path}, {"keys", command.keys},         {"mark", nameOf(command.mark)},
          {"on", command.isOn},   {"enabled", command.isEnabled}, {"open", command.isOpen}};
}

const char* signOf(const MenuCommand& command) {
  if (command.mark == MenuCommand::Mark::check) {
    return command.isOn ? "[x]" : "[ ]";
  }
  return command.mark == MenuCommand::Mark::none ? "   " : command.isOn ? "(o)" : "( )";
}

void print(const MenuCommand& command) {
  const std::string keys = command.keys.empty() ? "" : fmt::format("  {}", command.keys);
  fmt::print("{} {}{}{}\n", signOf(command), pathOf(command), keys,
             command.isEnabled ? "" : fmt::format("  ({})", localized("disabled")));
}

std::string nameOf(const RunningApplication& application) {
  return application.name.empty() ? localized("The application") : application.name;
}

}  // namespace

std::vector<MenuCommand> commandsOfMenus(int32_t pid) {
  const Platform& platform = Platform::current();
  std::vector<MenuCommand> all;
  if (!platform.menus) {
    return all;
  }
  // What a snapshot has seen makes it quick.
  platform.accessibility->prepareSnapshot(platform.accessibility->createApplication(pid), true);
  const auto done = platform.queues->makeCompletion();
  Token reading = platform.menus->read(pid, [&](std::vector<MenuCommand> commands, bool isLast) {
    std::ranges::move(commands, std::back_inserter(all));
    if (isLast) {
      done->signal();
    }
  });
  done->wait(kPatience);
  reading.reset();
  return all;
}

std::optional<MenuCommand> bestCommand(std::vector<MenuCommand> commands, const std::string& query) {
  CommandIndex index;
  index.add(CommandIndex::prepare(std::move(commands)));
  const auto matches = CommandQuery(query).isEmpty() ? std::vector<CommandMatch>() : index.search(query);
  return matches.empty() ? std::nullopt : std::optional(index.command(matches.front().command));
}

std::string pathOf(const MenuCommand& command) {
  return fmt::format("{}", fmt::join(command.path, " ▸ "));
}

ExitStatus runMenus(const Options& options) {
  const RunningApplication application = findTarget(options.target);
  const std::vector<MenuCommand> commands = commandsOfMenus(application.pid);
  if (options.json) {
    auto list = nlohmann::ordered_json::array();
    std::ranges::transform(commands, std::back_inserter(list), asJSON);
    fmt::print("{}\n", list.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
  } else if (commands.empty()) {
    fmt::print(stderr, "jumplark: {}\n", localizedFormat("{} tells of no menus.", nameOf(application)));
  } else {
    std::ranges::for_each(commands, print);
  }
  return commands.empty() ? ExitStatus::nothingMatched : ExitStatus::done;
}

ExitStatus runActOnMenus(const Options& options) {
  const RunningApplication application = findTarget(options.target);
  const auto best = bestCommand(commandsOfMenus(application.pid), options.query);
  if (!best) {
    throw CommandFailure(ExitStatus::nothingMatched,
                         localizedFormat("no command of the menus matches '{}'.", options.query));
  }
  if (options.dryRun) {
    fmt::print("{}\n", localizedFormat("would choose {}", pathOf(*best)));
    return ExitStatus::done;
  }
  switch (Platform::current().menus->perform(*best)) {
    case MenuOutcome::done:
      fmt::print("{}\n", localizedFormat("chose {}", pathOf(*best)));
      return ExitStatus::done;
    case MenuOutcome::disabled:
      throw CommandFailure(ExitStatus::nothingMatched, localizedFormat("{} cannot be chosen now.", pathOf(*best)));
    case MenuOutcome::gone:
      throw CommandFailure(ExitStatus::nothingMatched, localizedFormat("{} is not there any more.", pathOf(*best)));
    case MenuOutcome::failed:
      break;
  }
  throw CommandFailure(ExitStatus::outOfReach,
                       localizedFormat("{} does not carry out {}.", nameOf(application), pathOf(*best)));
}

}  // namespace jumplark::cli
