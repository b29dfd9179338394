#pragma once

#include <string>

#include "backends/linux/windows/TitleBar.h"

namespace jumplark::x11 {

/// Which buttons the settings of a window manager, called as it calls itself, put on title bars: those of Xfce, of
/// openbox's configuration file, and of the window managers that keep theirs in GSettings. The usual layout where none
/// are known. Waits for the settings' service, for 0.3 s at most and once in five minutes.
TitleBarLayout layoutOfWindowManager(const std::string& name);

}  // namespace jumplark::x11
