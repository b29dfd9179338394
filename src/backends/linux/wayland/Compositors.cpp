#include "backends/linux/wayland/Compositors.h"

#include <cstdlib>
#include <utility>

#include "backends/linux/wayland/gnome/ShellCompositor.h"
#include "backends/linux/wayland/gnome/ShellExtension.h"
#include "backends/linux/wayland/kwin/KWinCompositor.h"
#include "backends/linux/wayland/sway/SwayCompositor.h"
#include "platform/Texts.h"

namespace jumplark {

std::unique_ptr<Compositor> openCompositor() {
  if (auto sway = sway::SwayCompositor::open()) {
    return sway;
  }
  if (auto kwin = kwin::KWinCompositor::open()) {
    return kwin;
  }
  return gnome::ShellCompositor::open();
}

CompositorProblem compositorProblem() {
  if (const char* const sway = std::getenv("SWAYSOCK"); sway != nullptr && *sway != '\0') {
    return {localized("Sway does not answer on the socket that SWAYSOCK names."),
            localized("Start Jumplark in the session that it shall operate.")};
  }
  if (kwin::isOnSessionBus()) {
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
