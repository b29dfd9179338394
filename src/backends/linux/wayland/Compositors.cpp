#include "backends/linux/wayland/Compositors.h"

#include "backends/linux/wayland/gnome/ShellCompositor.h"
#include "backends/linux/wayland/kwin/KWinCompositor.h"
#include "backends/linux/wayland/sway/SwayCompositor.h"

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

}  // namespace jumplark
