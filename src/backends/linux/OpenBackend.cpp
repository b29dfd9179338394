#include "backends/linux/OpenBackend.h"

#include <cstdlib>
#include <utility>

#include "backends/linux/wayland/WaylandBackend.h"
#include "backends/linux/x11/X11Backend.h"

namespace jumplark {

// Where both can be reached, X11 is what the compositor offers to older programs, and shows theirs alone.
OpenedBackend openBackend(TaskQueue& mainQueue) {
  if (const char* const wayland = std::getenv("WAYLAND_DISPLAY"); wayland != nullptr && *wayland != '\0') {
    auto opened = WaylandBackend::open(mainQueue);
    return {std::move(opened.backend), std::move(opened.error)};
  }
  auto x11 = X11Backend::open(mainQueue);
  return {std::move(x11.backend), std::move(x11.error)};
}

}  // namespace jumplark
