#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace jumplark::cli {
namespace {

using Command = Options::Command;

constexpr const char* kTargetGroup = "TARGET (without one: the frontmost application)";

void addLiveTarget(CLI::App& command, Target& target) {
  const std::string group = kTargetGroup;
  auto* pid = command.add_option("--pid", target.pid, "The application with this process id")->option_text("N");
  auto* name = command.add_option("--app", target.application, "The application of this name")->option_text("NAME");
  pid->group(group)->excludes(name);
  name->group(group);
  command.add_option("--wait", target.waitSeconds, "Wait this long before looking at the desktop")
      ->option_text("SECONDS")
      ->check(CLI::Range(0.0, 86400.0))
      ->group(group);
}

void addTarget(CLI::App& command, Target& target) {
  command.add_option("--desktop", target.desktopFile, "Read a recorded desktop instead of the live one")
      ->option_text("FILE")
      ->group(kTargetGroup);
  addLiveTarget(command, target);
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
  preferences->add_option("PANE", options.pane, "General, Advanced, Usage, Help or About");

  auto* tree = addCommand(app, options, "tree", "Print the snapshot of an application as XML", Command::tree);
  addTarget(*tree, options.target);
  tree->add_flag("--all", options.all, "Invisible elements too");

  auto* match = addCommand(app, options, "match", "Print the ranked, labelled matches of a query", Command::match);
  addTarget(*match, options.target);
  match->add_flag("--json", options.json, "Print a JSON list, best first");
  match->add_option("QUERY", options.query, "Letters of the text to find; with a leading . of the role")->required();

  auto* act = addCommand(app, options, "act", "Click the best match of a query", Command::act);
  addTarget(*act, options.target);
  act->add_flag("--dry-run", options.dryRun, "Only say what would be clicked");
  act->add_option("QUERY", options.query, "Letters of the text to find; with a leading . of the role")->required();

  auto* record =
      addCommand(app, options, "record", "Save what a snapshot reads as a recorded desktop", Command::record);
  addTarget(*record, options.target);
  record->add_option("-o,--output", options.outputFile, "Where to write it; standard output without")
      ->option_text("FILE");

  auto* doctor = addCommand(
      app, options, "doctor",
      "Check this desktop, say how to mend what is missing, and how the application in front is read", Command::doctor);
  addLiveTarget(*doctor, options.target);
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
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const bool asked = app.exit(error, std::cout, std::cerr) == 0;
    return asked ? ExitStatus::done : ExitStatus::badUsage;
  }
  return options;
}

}  // namespace jumplark::cli
