#pragma once

#include <vector>

#include "backends/linux/system/DesktopCheck.h"
#include "platform/Texts.h"

namespace jumplark::atspi {

/// The name of the check that tells whether accessibility is switched on.
inline constexpr const char* kSwitchCheck = textForLater("accessibility switch");

/// How the session's message buses stand, changing nothing: the session bus, the accessibility bus, whether
/// accessibility is switched on, whether there is a tray. Asks each service for at most 2 seconds. Uses connections of
/// its own, so it may be called from any thread, also while nothing else runs.
std::vector<DesktopCheck> atspiChecks();

}  // namespace jumplark::atspi
