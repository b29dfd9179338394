#include <fmt/format.h>
#include <spdlog/cfg/env.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>

#include "backends/linux/system/SystemQueues.h"
#include "backends/linux/system/TextCatalogue.h"
#include "cli/CommandLine.h"
#include "cli/Commands.h"
#include "cli/OpenDesktop.h"
#include "platform/Texts.h"

namespace jumplark::cli {
namespace {

ExitStatus runOnPlatform(const Options& options, const Platform& platform) {
  switch (options.command) {
    case Options::Command::tree:
      return runTree(options);
    case Options::Command::match:
      return runMatch(options);
    case Options::Command::act:
      return options.inMenus ? runActOnMenus(options) : runAct(options);
    case Options::Command::menus:
      return runMenus(options);
    case Options::Command::record:
      return runRecord(options, platform);
    default:
      return ExitStatus::badUsage;
  }
}

/// What it throws becomes a sentence on standard error and a status.
ExitStatus reportingFailure(const std::function<ExitStatus()>& command) {
  try {
    return command();
  } catch (const CommandFailure& failure) {
    fmt::print(stderr, "jumplark: {}\n", failure.what());
    return failure.status();
  } catch (const std::exception& error) {
    fmt::print(stderr, "jumplark: {}\n", error.what());
    return ExitStatus::outOfReach;
  }
}

ExitStatus runSnapshotCommand(const Options& options, SystemQueues& queues) {
  return reportingFailure([&] {
    if (options.command == Options::Command::doctor) {
      return runDoctor(options, queues);
    }
    const std::unique_ptr<OpenDesktop> desktop = openDesktop(options.target, queues);
    const Token installed = Platform::install(desktop->platform());
    return runOnPlatform(options, desktop->platform());
  });
}

/// Runs a command on the high-priority queue, whose stack is deep enough for the deepest trees.
ExitStatus runWithDeepStack(const Options& options) {
  SystemQueues queues;
  ExitStatus status = ExitStatus::outOfReach;
  const auto done = queues.makeCompletion();
  queues.highPriorityQueue().post([&] {
    status = runSnapshotCommand(options, queues);
    done->signal();
  });
  while (!done->wait(std::chrono::hours(1))) {
  }
  return status;
}

ExitStatus run(const Options& options) {
  switch (options.command) {
    case Options::Command::run:
      return reportingFailure(runInBackground);
    case Options::Command::activate:
      return reportingFailure(runActivate);
    case Options::Command::preferences:
      return reportingFailure([&] { return runPreferences(options); });
    case Options::Command::doctor:
      // Who is asked for help reads it too.
      setTextCatalogue(nullptr);
      return runWithDeepStack(options);
    default:
      return runWithDeepStack(options);
  }
}

}  // namespace

int runProgram(int argc, char** argv) {
  // SPDLOG_LEVEL=debug tells durations besides.
  spdlog::cfg::load_env_levels();
  openTextCatalogue();
  const auto parsed = parseCommandLine(argc, argv);
  return static_cast<int>(std::holds_alternative<ExitStatus>(parsed) ? std::get<ExitStatus>(parsed)
                                                                     : run(std::get<Options>(parsed)));
}

}  // namespace jumplark::cli

int main(int argc, char** argv) {
  return jumplark::cli::runProgram(argc, argv);
}
