#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "backends/linux/DesktopCheck.h"
#include "backends/linux/atspi/AtspiChecks.h"
#include "backends/linux/x11/X11Checks.h"

#include "cli/Commands.h"

namespace jumplark::cli {
namespace {

const char* mark(DesktopCheck::Level level) {
  switch (level) {
    case DesktopCheck::Level::ok:
      return "ok      ";
    case DesktopCheck::Level::warning:
      return "warning ";
    case DesktopCheck::Level::failure:
      return "FAILED  ";
  }
  return "";
}

}  // namespace

ExitStatus runDoctor() {
  std::vector<DesktopCheck> checks = x11Checks();
  const std::vector<DesktopCheck> buses = atspi::atspiChecks();
  checks.insert(checks.end(), buses.begin(), buses.end());
  for (const DesktopCheck& check : checks) {
    fmt::print("{}{}: {}\n", mark(check.level), check.name, check.finding);
    if (!check.remedy.empty()) {
      fmt::print("        -> {}\n", check.remedy);
    }
  }
  const bool failed = std::any_of(checks.begin(), checks.end(), [](const DesktopCheck& check) {
    return check.level == DesktopCheck::Level::failure;
  });
  return failed ? ExitStatus::outOfReach : ExitStatus::done;
}

}  // namespace jumplark::cli
