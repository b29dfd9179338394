#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

#include "app/HealthSummary.h"
#include "backends/linux/DesktopChecks.h"
#include "backends/linux/LinuxPlatform.h"
#include "backends/linux/system/DesktopCheck.h"
#include "backends/linux/system/SystemQueues.h"
#include "cli/Commands.h"
#include "cli/Snapshot.h"
#include "platform/Platform.h"

namespace jumplark::cli {
namespace {

using Checks = std::vector<DesktopCheck>;
using Level = DesktopCheck::Level;

const char* mark(Level level) {
  switch (level) {
    case Level::ok:
      return "ok      ";
    case Level::warning:
      return "warning ";
    case Level::failure:
      return "FAILED  ";
  }
  return "";
}

size_t countOf(const Checks& checks, Level level) {
  return static_cast<size_t>(std::ranges::count(checks, level, &DesktopCheck::level));
}

/// Whether all is well, then what is not, the worst first; or all that was looked at, in its order.
void print(Checks checks, bool all) {
  fmt::print("{}\n", healthSummary(countOf(checks, Level::failure), countOf(checks, Level::warning)));
  if (!all) {
    std::erase_if(checks, [](const DesktopCheck& check) { return check.level == Level::ok; });
    std::ranges::stable_sort(checks, std::greater<>(), &DesktopCheck::level);
  }
  for (const DesktopCheck& check : checks) {
    fmt::print("{}{}: {}\n", mark(check.level), check.name, check.finding);
    if (!check.remedy.empty()) {
      fmt::print("        -> {}\n", check.remedy);
    }
  }
}

/// Reaching for the applications would switch accessibility on, and this command changes nothing.
bool mayReadApplications(const Checks& checks) {
  return countOf(checks, Level::failure) == 0 && std::ranges::none_of(checks, [](const DesktopCheck& check) {
           return check.subject == DesktopCheck::Subject::accessibilitySwitch && check.level != Level::ok;
         });
}

Checks applicationChecks(const Target& target, SystemQueues& queues) {
  auto opened = LinuxPlatform::open(queues);
  if (!opened.platform) {
    return {{"application", Level::failure, opened.error, ""}};
  }
  const Token installed = Platform::install(opened.platform->platform());
  if (target.waitSeconds > 0) {
    queues.sleep(std::chrono::duration_cast<Duration>(std::chrono::duration<double>(target.waitSeconds)));
  }
  const bool named = target.pid || target.application;
  if (!named && !opened.platform->platform().workspace->frontmostApplication()) {
    return {{"application", Level::ok, "No application is in front, so none was read.", ""}};
  }
  return opened.platform->readingChecks(findTarget(target));
}

}  // namespace

ExitStatus runDoctor(const Options& options, SystemQueues& queues) {
  Checks checks = desktopChecks();
  if (mayReadApplications(checks)) {
    try {
      const Checks application = applicationChecks(options.target, queues);
      checks.insert(checks.end(), application.begin(), application.end());
    } catch (const CommandFailure&) {
      // Of an application that is not there: that is no fault of the desktop.
      print(checks, options.all);
      throw;
    }
  }
  print(checks, options.all);
  return countOf(checks, Level::failure) > 0 ? ExitStatus::outOfReach : ExitStatus::done;
}

}  // namespace jumplark::cli
