#pragma once

#include <string>
#include <vector>

#include "backends/linux/system/DesktopCheck.h"

namespace jumplark {

/// Looks at the session and the X server and says what is missing for this program. An empty display name means the one
/// in the environment variable DISPLAY. Waits for nothing but the X server.
std::vector<DesktopCheck> x11Checks(const std::string& display = {});

}  // namespace jumplark
