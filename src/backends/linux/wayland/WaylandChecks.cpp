#include "backends/linux/wayland/WaylandChecks.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "backends/linux/wayland/Compositors.h"
#include "backends/linux/wayland/WaylandConnection.h"
#include "backends/linux/windows/WindowSystem.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

DesktopCheck checkWindows(Compositor* compositor, const WaylandConnection& connection) {
  if (compositor != nullptr) {
    return {localized("compositor"),
            DesktopCheck::ok,
            localizedFormat("{} tells which windows there are and where.", compositor->name()),
            {}};
  }
  CompositorProblem problem = compositorProblem(connection);
  return {localized("compositor"), DesktopCheck::failure, std::move(problem.finding), std::move(problem.remedy)};
}

/// A protocol that the compositor offers or does not.
DesktopCheck checkOffer(const char* name, bool isThere, const char* found, const char* missing,
                        DesktopCheck::Level without) {
  if (isThere) {
    return {localized(name), DesktopCheck::ok, localized(found), {}};
  }
  return {localized(name), without, localized(missing),
          localized("Use a compositor that offers this to programs, such as sway 1.7 or later.")};
}

DesktopCheck checkOutputs(const WaylandConnection& connection) {
  const size_t count = connection.outputs().size();
  if (count > 0) {
    return {localized("screens"), DesktopCheck::ok, localizedFormat("{} can be drawn on.", count), {}};
  }
  return {localized("screens"), DesktopCheck::failure, localized("The compositor has no screen that is switched on."),
          localized("Switch a screen on in the compositor's settings.")};
}

}  // namespace

bool isWaylandSession() {
  const char* const name = std::getenv("WAYLAND_DISPLAY");
  return name != nullptr && *name != '\0';
}

std::vector<DesktopCheck> waylandChecks() {
  const auto opened = WaylandConnection::open();
  if (!opened.connection) {
    // The explanation ends with what to do.
    const size_t sentence = std::min(opened.error.find(". ") + 1, opened.error.size());
    return {{localized("session"), DesktopCheck::failure, opened.error.substr(0, sentence),
             opened.error.substr(std::min(sentence + 1, opened.error.size()))}};
  }
  const WaylandGlobals& offered = opened.connection->globals();
  const auto compositor = openCompositor(opened.connection);
  std::vector<DesktopCheck> checks = {
      {localized("session"), DesktopCheck::ok, localized("This is a Wayland session."), {}},
      checkWindows(compositor.get(), *opened.connection),
      checkOutputs(*opened.connection)};
  if (!compositor) {
    return checks;  // without places nothing else can be used
  }
  const DesktopCheck offers[] = {
      checkOffer(textForLater("windows of our own"), offered.hasLayerShell,
                 textForLater("The query and the boxes can lie over everything."),
                 textForLater("The compositor lets no program lay something over the others, so nothing shows."),
                 DesktopCheck::failure),
      checkOffer(textForLater("pointer"), offered.virtualPointers != nullptr,
                 textForLater("The compositor takes clicks of ours."),
                 textForLater("The compositor takes no clicks of ours, so nothing can be pressed."),
                 DesktopCheck::failure),
      checkOffer(textForLater("keyboard"), offered.virtualKeyboards != nullptr,
                 textForLater("The compositor takes keys of ours."),
                 textForLater("The compositor takes no keys of ours, so the query does not come while a menu is "
                              "open, and modifiers that are held count for clicks."),
                 DesktopCheck::warning)};
  checks.insert(checks.end(), std::begin(offers), std::end(offers));
  for (DesktopCheck& own : compositor->checks(*opened.connection)) {
    const auto general = std::ranges::find(checks, own.name, &DesktopCheck::name);
    (general != checks.end() ? *general : checks.emplace_back()) = std::move(own);
  }
  return checks;
}

}  // namespace jumplark
