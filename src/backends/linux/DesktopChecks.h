#pragma once

#include <vector>

#include "backends/linux/system/DesktopCheck.h"

namespace jumplark {

/// How display and message buses stand, changing nothing. Where icons have a place, of whichever kind, nothing is said
/// of the kinds that are missing. May take seconds; any thread.
std::vector<DesktopCheck> desktopChecks();

}  // namespace jumplark
