#pragma once

#include <vector>

#include "backends/linux/system/DesktopCheck.h"

namespace jumplark::atspi {

/// How the session's message buses stand, changing nothing: the session bus, the accessibility bus, whether
/// accessibility is switched on, whether there is a place for icons. Asks each service for at most 2 seconds. Uses
/// connections of its own, so it may be called from any thread, also while nothing else runs.
std::vector<DesktopCheck> atspiChecks();

}  // namespace jumplark::atspi
