#include "backends/linux/wayland/Compositors.h"

#include <cstdlib>
#include <utility>

#include "backends/linux/wayland/WaylandConnection.h"
#include "backends/linux/wayland/gnome/ShellCompositor.h"
#include "backends/linux/wayland/gnome/ShellExtension.h"
#include "backends/linux/wayland/kwin/KWinCompositor.h"
#include "backends/linux/wayland/sway/SwayCompositor.h"
#include "platform/Texts.h"

namespace jumplark {

// A compositor that runs in a window of another one has inherited that one's variables and session bus, where sway or
// KWin answers for windows that are not its own.
std::unique_ptr<Compositor> openCompositor(const std::shared_ptr<WaylandConnection>& connection) {
  const WaylandGlobals& offered = connection->globals();
  if (auto sway = offered.hasLayerShell ? sway::SwayCompositor::open() : nullptr) {
    return sway;
  }
  if (auto kwin = offered.isKWins ? kwin::KWinCompositor::open() : nullptr) {
    return kwin;
  }
  return gnome::ShellCompositor::open(connection);
}

CompositorProblem compositorProblem(const WaylandGlobals& offered) {
  const char* const sway = std::getenv("SWAYSOCK");
  if (offered.hasLayerShell && !offered.isKWins && sway != nullptr && *sway != '\0') {
    return {localized("Sway does not answer on the socket that SWAYSOCK names."),
            localized("Start Jumplark in the session that it shall operate.")};
  }
  if (offered.isKWins) {
    return {localized("KWin does not answer, or does not run the script that tells which window is in front."),
            localized("Wait until it does, or log out and in again.")};
  }
  auto extension = gnome::extensionState();
  if (extension == gnome::ExtensionState::works) {
    extension = gnome::ExtensionState::silent;  // a moment ago
  }
  if (auto problem = gnome::problemOf(extension); !problem.finding.empty()) {
    return {std::move(problem.finding), std::move(problem.remedy)};
  }
  return {localized("This Wayland compositor tells nobody which window is in front and where it is, so nothing can be "
                    "operated."),
          localized("Use Jumplark in a session of sway, KDE or GNOME, or in one on X11.")};
}

}  // namespace jumplark
