#include "backends/linux/wayland/Compositors.h"

#include "backends/linux/wayland/sway/SwayCompositor.h"

namespace jumplark {

std::unique_ptr<Compositor> openCompositor() {
  return sway::SwayCompositor::open();
}

}  // namespace jumplark
