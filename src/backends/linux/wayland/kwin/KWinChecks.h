#pragma once

#include <vector>

#include "backends/linux/system/DesktopCheck.h"
#include "backends/linux/wayland/WaylandConnection.h"
#include "backends/linux/wayland/kwin/KWinScripts.h"

namespace jumplark::kwin {

/// Whether KWin takes clicks and keys of this program, which it has to be told in a desktop file.
std::vector<DesktopCheck> inputChecks(const WaylandConnection& connection);
/// Whether KDE's service of global shortcuts is there.
DesktopCheck shortcutCheck(BusCalls& calls);

}  // namespace jumplark::kwin
