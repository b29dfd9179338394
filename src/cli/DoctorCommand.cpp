#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "backends/linux/system/DesktopCheck.h"
#include "backends/linux/DesktopChecks.h"
#include "backends/linux/LinuxPlatform.h"
#include "backends/linux/atspi/bus/AtspiChecks.h"
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

void print(const Checks& checks) {
  for (const DesktopCheck& check : checks) {
    fmt::print("{}{}: {}\n", mark(check.level), check.name, check.finding);
    if (!check.remedy.empty()) {
      fmt::print("        -> {}\n", check.remedy);
    }
  }
}

bool anyFailed(const Checks& checks) {
  return std::any_of(checks.begin(), checks.end(), [](const auto& check) { return check.level == Level::failure; });
}

/// Reaching for the applications would switch accessibility on, and this command changes nothing.
bool mayReadApplications(const Checks& checks) {
  return !anyFailed(checks) && std::none_of(checks.begin(), checks.end(), [](const DesktopCheck& check) {
    return check.name == atspi::kSwitchCheck && check.level != Level::ok;
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
  print(checks);
  if (mayReadApplications(checks)) {
    const Checks application = applicationChecks(options.target, queues);
    print(application);
    checks.insert(checks.end(), application.begin(), application.end());
  }
  return anyFailed(checks) ? ExitStatus::outOfReach : ExitStatus::done;
}

}  // namespace jumplark::cli
