#include "cli/CommandLine.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <functional>
#include <iostream>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/Arguments.h"
#include "cli/BadUsage.h"
#include "platform/Texts.h"

namespace jumplark::cli {
namespace {

using Command = Options::Command;

constexpr const char* kPanes[] = {"General", "Advanced", "Usage", "Help", "About"};
constexpr const char* kTargetGroup = "TARGET (without one: the frontmost application)";

// Each checks a value and tells, in the user's language, what is wrong with it.

std::string problemOfPid(std::string& value) {
  int32_t pid = 0;
  const bool isPid = CLI::detail::lexical_cast(value, pid) && pid > 0;
  return isPid ? std::string() : localizedFormat("'{}' is no process id.", value);
}

std::string problemOfWait(std::string& value) {
  constexpr int kLongest = 86400;
  double seconds = 0;
  const bool isTime = CLI::detail::lexical_cast(value, seconds) && seconds >= 0 && seconds <= kLongest;
  return isTime ? std::string() : localizedFormat("'{}' is no number of seconds from 0 to {}.", value, kLongest);
}

void addLiveTarget(CLI::App& command, Target& target) {
  const std::string group = kTargetGroup;
  auto* pid = command.add_option("--pid", target.pid, "The application with this process id")->option_text("N");
  auto* name = command.add_option("--app", target.application, "The application of this name")->option_text("NAME");
  pid->group(group)->excludes(name)->check(CLI::Validator(problemOfPid, std::string()))->take_last();
  name->group(group)->take_last();
  command.add_option("--wait", target.waitSeconds, "Wait this long before looking at the desktop")
      ->option_text("SECONDS")
      ->check(CLI::Validator(problemOfWait, std::string()))
      ->take_last()
      ->group(group);
}

void addTarget(CLI::App& command, Target& target) {
  command.add_option("--desktop", target.desktopFile, "Read a recorded desktop instead of the live one")
      ->option_text("FILE")
      ->take_last()
      ->group(kTargetGroup);
  addLiveTarget(command, target);
}

void addQuery(CLI::App& command, std::string& query) {
  command.add_option("QUERY", query, "Letters of the text to find; with a leading . of the role")->required();
}

void addWindow(CLI::App& command, bool& window) {
  command.add_flag("--window", window, "Also the window's own buttons, after everything else");
}

/// Panes may be named in small letters as well; `value` becomes the name that the preferences know.
std::string problemOfPane(std::string& value) {
  const auto* const known = std::ranges::find_if(
      kPanes, [&](std::string_view name) { return std::ranges::equal(name, value, {}, ::tolower, ::tolower); });
  if (known == std::end(kPanes)) {
    return localizedFormat("'{}' is no pane. There are {}.", value, fmt::join(kPanes, ", "));
  }
  value = *known;
  return {};
}

void addPane(CLI::App& command, std::string& pane) {
  command.add_option("PANE", pane, "General, Advanced, Usage, Help or About")
      ->transform(CLI::Validator(problemOfPane, std::string()));
}

CLI::App* addCommand(CLI::App& app, Options& options, const char* name, const char* help, Command command) {
  CLI::App* added = app.add_subcommand(name, help);
  added->callback([&options, command] { options.command = command; });
  return added;
}

void addCommands(CLI::App& app, Options& options) {
  addCommand(app, options, "activate", "Show or hide the query window of the running instance", Command::activate);
  auto* preferences =
      addCommand(app, options, "preferences", "Open the preferences of the running instance", Command::preferences);
  addPane(*preferences, options.pane);

  auto* tree = addCommand(app, options, "tree", "Print the snapshot of an application as XML", Command::tree);
  addTarget(*tree, options.target);
  tree->add_flag("--all", options.all, "Invisible elements too");

  auto* match = addCommand(app, options, "match", "Print the ranked, labelled matches of a query", Command::match);
  addTarget(*match, options.target);
  match->add_flag("--json", options.json, "Print a JSON list, best first");
  addWindow(*match, options.window);
  addQuery(*match, options.query);

  auto* act = addCommand(app, options, "act", "Click the best match of a query", Command::act);
  addTarget(*act, options.target);
  act->add_flag("--dry-run", options.dryRun, "Only say what would be clicked");
  act->add_flag("--menu", options.inMenus, "Choose the best command of the menus instead, without opening them");
  addWindow(*act, options.window);
  addQuery(*act, options.query);

  auto* menus = addCommand(app, options, "menus", "Print the commands of an application's menus", Command::menus);
  addTarget(*menus, options.target);
  menus->add_flag("--json", options.json, "Print a JSON list");

  auto* record =
      addCommand(app, options, "record", "Save what a snapshot reads as a recorded desktop", Command::record);
  addTarget(*record, options.target);
  record->add_option("-o,--output", options.outputFile, "Where to write it; standard output without")
      ->option_text("FILE");

  auto* doctor =
      addCommand(app, options, "doctor", "Say whether all is well here, and how to mend what is not", Command::doctor);
  addLiveTarget(*doctor, options.target);
  doctor->add_flag("--all", options.all, "Also what is well, and how the application in front is read");
}

/// As the parser takes them: the last one first.
std::vector<std::string> argumentsFor(const CLI::App& app, std::vector<std::string> given) {
  const auto commands = app.get_subcommands([&](const CLI::App* command) {
    return !given.empty() && command->get_name() == given.front() && command->get_option_no_throw("QUERY") != nullptr;
  });
  if (!commands.empty()) {
    const std::vector<std::string> ordered = withQueryLast(*commands.front(), {given.begin() + 1, given.end()});
    given.resize(1);
    given.insert(given.end(), ordered.begin(), ordered.end());
  }
  std::ranges::reverse(given);
  return given;
}

}  // namespace

std::variant<Options, ExitStatus> parseCommandLine(int argc, const char* const* argv) {
  Options options;
  CLI::App app("Operate any application's interface from the keyboard: type a few letters of what you see, click it.",
               "jumplark");
  app.set_version_flag("--version", "jumplark " JUMPLARK_VERSION);
  app.require_subcommand(0, 1);
  app.footer(
      "Without a command it runs in the background and waits for its shortcut.\n\n"
      "Exit status: 0 done, 1 nothing matched, 2 bad usage or unreadable file,\n"
      "3 desktop, accessibility or running instance out of reach.");
  addCommands(app, options);
  try {
    app.parse(argumentsFor(app, {argv + std::min(argc, 1), argv + argc}));
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      app.exit(error, std::cout, std::cerr);
      return ExitStatus::done;
    }
    fmt::print(stderr, "jumplark: {}\n{}\n", sentenceOn(app, error), whereToReadOn(app));
    return ExitStatus::badUsage;
  }
  return options;
}

}  // namespace jumplark::cli
