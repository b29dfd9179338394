#include "backends/linux/wayland/Compositors.h"

#include <cstdlib>
#include <utility>

#include "backends/linux/wayland/WaylandConnection.h"
#include "backends/linux/wayland/gnome/ShellBus.h"
#include "backends/linux/wayland/gnome/ShellCompositor.h"
#include "backends/linux/wayland/gnome/ShellExtension.h"
#include "backends/linux/wayland/kwin/KWinCompositor.h"
#include "backends/linux/wayland/sway/SwayCompositor.h"
#include "platform/Texts.h"

namespace jumplark {

// A compositor that runs in a window of another one has inherited that one's variables and session bus, where sway,
// KWin or the shell answers for windows that are not its own.
std::unique_ptr<Compositor> openCompositor(const std::shared_ptr<WaylandConnection>& connection) {
  const WaylandGlobals& offered = connection->globals();
  if (auto sway = offered.hasLayerShell ? sway::SwayCompositor::open(connection->compositor()) : nullptr) {
    return sway;
  }
  if (auto kwin = offered.isKWins ? kwin::KWinCompositor::open() : nullptr) {
    return kwin;
  }
  return gnome::ShellCompositor::open(connection);
}

CompositorProblem compositorProblem(const WaylandConnection& connection) {
  const WaylandGlobals& offered = connection.globals();
  const char* const sway = std::getenv("SWAYSOCK");
  // One that answers there and is no other compositor's.
  const bool isSways = sway != nullptr && *sway != '\0' &&
                       (sway::socketOf(0).empty() || !sway::socketOf(connection.compositor()).empty());
  if (offered.hasLayerShell && !offered.isKWins && isSways) {
    return {localized("Sway does not answer on the socket that SWAYSOCK names."),
            localized("Start Jumplark in the session that it shall operate.")};
  }
  if (offered.isKWins) {
    return {localized("KWin does not answer, or does not run the script that tells which window is in front."),
            localized("Wait until it does, or log out and in again.")};
  }
  const bool isShells = gnome::isShell(gnome::connectToBus().get(), connection.compositor());
  auto extension = isShells ? gnome::extensionState() : gnome::ExtensionState::noShell;
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
