#pragma once

#include <vector>

#include "backends/linux/system/DesktopCheck.h"

namespace jumplark {

/// True when the session that the environment names is one of a Wayland compositor.
bool isWaylandSession();

/// What the compositor that the environment names offers. Asks it only; waits some seconds at most.
std::vector<DesktopCheck> waylandChecks();

}  // namespace jumplark
