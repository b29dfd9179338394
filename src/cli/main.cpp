#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>

#include "backends/linux/system/SystemQueues.h"
#include "cli/CommandLine.h"
#include "cli/Commands.h"
#include "cli/OpenDesktop.h"

namespace jumplark::cli {
namespace {

ExitStatus runOnPlatform(const Options& options, const Platform& platform) {
  switch (options.command) {
    case Options::Command::tree:
      return runTree(options);
    case Options::Command::match:
      return runMatch(options);
    case Options::Command::act:
      return runAct(options);
    case Options::Command::record:
      return runRecord(options, platform);
    case Options::Command::doctor:
      return runDoctor();
  }
  return ExitStatus::badUsage;
}

ExitStatus run(const Options& options, SystemQueues& queues) {
  try {
    if (options.command == Options::Command::doctor) {
      return runDoctor();
    }
    const std::unique_ptr<OpenDesktop> desktop = openDesktop(options.target, queues);
    const Token installed = Platform::install(desktop->platform());
    return runOnPlatform(options, desktop->platform());
  } catch (const CommandFailure& failure) {
    fmt::print(stderr, "jumplark: {}\n", failure.what());
    return failure.status();
  } catch (const std::exception& error) {
    fmt::print(stderr, "jumplark: {}\n", error.what());
    return ExitStatus::outOfReach;
  }
}

/// Runs a command on the high-priority queue, whose stack is deep enough for the deepest trees.
ExitStatus runWithDeepStack(const Options& options) {
  SystemQueues queues;
  ExitStatus status = ExitStatus::outOfReach;
  const auto done = queues.makeCompletion();
  queues.highPriorityQueue().post([&] {
    status = run(options, queues);
    done->signal();
  });
  while (!done->wait(std::chrono::hours(1))) {
  }
  return status;
}

}  // namespace
}  // namespace jumplark::cli

int main(int argc, char** argv) {
  using namespace jumplark::cli;
  const auto parsed = parseCommandLine(argc, argv);
  const ExitStatus status = std::holds_alternative<ExitStatus>(parsed) ? std::get<ExitStatus>(parsed)
                                                                       : runWithDeepStack(std::get<Options>(parsed));
  return static_cast<int>(status);
}
