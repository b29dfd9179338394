#include "backends/linux/OpenBackend.h"

#include <utility>

#include "backends/linux/wayland/WaylandBackend.h"
#include "backends/linux/wayland/WaylandChecks.h"
#include "backends/linux/x11/X11Backend.h"

namespace jumplark {

// Where both can be reached, X11 is what the compositor offers to older programs, and shows theirs alone.
OpenedBackend openBackend(TaskQueue& mainQueue) {
  if (isWaylandSession()) {
    auto opened = WaylandBackend::open(mainQueue);
    return {std::move(opened.backend), std::move(opened.error)};
  }
  auto x11 = X11Backend::open(mainQueue);
  return {std::move(x11.backend), std::move(x11.error)};
}

}  // namespace jumplark
