#include "backends/linux/DesktopChecks.h"

#include <algorithm>
#include <iterator>

#include "backends/linux/atspi/bus/AtspiChecks.h"
#include "backends/linux/qt/wayland/LayerWindows.h"
#include "backends/linux/wayland/WaylandChecks.h"
#include "backends/linux/x11/X11Checks.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

/// Keeps the one that says most: a place for icons that is there, of whichever kind.
void keepOneOfIcon(std::vector<DesktopCheck>& checks) {
  const auto isOfIcon = [](const DesktopCheck& check) { return check.subject == DesktopCheck::Subject::icon; };
  const auto isThere = [&](const DesktopCheck& check) { return isOfIcon(check) && check.level == DesktopCheck::ok; };
  auto kept = std::find_if(checks.begin(), checks.end(), isThere);
  if (kept == checks.end()) {
    const auto last = std::find_if(checks.rbegin(), checks.rend(), isOfIcon);
    kept = last != checks.rend() ? std::prev(last.base()) : checks.end();
  }
  std::vector<DesktopCheck> rest;
  for (auto check = checks.begin(); check != checks.end(); ++check) {
    if (check == kept || !isOfIcon(*check)) {
      rest.push_back(*check);
    }
  }
  checks = std::move(rest);
}

DesktopCheck checkQt() {
  if (qtShowsWindowsOnWayland()) {
    return {localized("Qt for Wayland"), DesktopCheck::ok, localized("Qt can show windows here."), {}};
  }
  return {localized("Qt for Wayland"), DesktopCheck::failure,
          localized("The part of Qt that shows windows on Wayland is missing."),
          localized("Install the package qt6-wayland.")};
}

}  // namespace

std::vector<DesktopCheck> desktopChecks() {
  std::vector<DesktopCheck> checks = isWaylandSession() ? waylandChecks() : x11Checks();
  if (isWaylandSession()) {
    checks.push_back(checkQt());
  }
  const std::vector<DesktopCheck> buses = atspi::atspiChecks();
  checks.insert(checks.end(), buses.begin(), buses.end());
  keepOneOfIcon(checks);
  return checks;
}

}  // namespace jumplark
