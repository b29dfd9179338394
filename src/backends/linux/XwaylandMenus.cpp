#include "backends/linux/XwaylandMenus.h"

#include <algorithm>

#include "backends/linux/windows/MenuWindow.h"
#include "backends/linux/x11/X11Connection.h"
#include "backends/linux/x11/X11WindowSystem.h"

namespace jumplark {

bool XwaylandMenus::doShow() {
  if (!x_ || !x_->alive()) {
    x_ = X11Connection::open().connection;
  }
  if (!x_) {
    return false;
  }
  x_->dropEvents();
  return std::ranges::any_of(X11WindowSystem(x_).popupsFrontToBack(), isMenuWindow);
}

}  // namespace jumplark
