#include "backends/linux/OpenBackend.h"

#include <utility>

#include "backends/linux/wayland/WaylandBackend.h"
#include "backends/linux/wayland/WaylandChecks.h"
#include "backends/linux/x11/X11Backend.h"

namespace jumplark {
namespace {

/// What can be done for programs that run on Xwayland while the shell does not work with our extension; null without
/// Xwayland.
OpenedBackend openXwayland(TaskQueue& mainQueue, gnome::ExtensionState extension) {
  auto x11 = X11Backend::open(mainQueue);
  if (x11.backend) {
    x11.backend->trustOnlyActiveWindow();
  }
  return {std::move(x11.backend), {}, extension};
}

}  // namespace

// Where both can be reached, X11 is what the compositor offers to older programs, and shows theirs alone.
OpenedBackend openBackend(TaskQueue& mainQueue) {
  if (isWaylandSession()) {
    auto opened = WaylandBackend::open(mainQueue);
    if (opened.backend) {
      return {std::move(opened.backend), {}};
    }
    using State = gnome::ExtensionState;
    const State extension = gnome::extensionState();
    if (extension != State::noShell && extension != State::works && extension != State::silent &&
        extension != State::locked) {
      if (OpenedBackend xwayland = openXwayland(mainQueue, extension); xwayland.backend) {
        return xwayland;
      }
    }
    return {nullptr, std::move(opened.error)};
  }
  auto x11 = X11Backend::open(mainQueue);
  return {std::move(x11.backend), std::move(x11.error)};
}

}  // namespace jumplark
