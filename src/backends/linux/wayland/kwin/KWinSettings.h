#pragma once

#include <istream>

#include "backends/linux/windows/TitleBar.h"

/// What KWin's file of settings says.
namespace jumplark::kwin {

/// The order of the buttons on title bars, as it is now.
TitleBarLayout titleBarLayout();
/// The same from the text of "kwinrc".
TitleBarLayout titleBarLayoutIn(std::istream& settings);

}  // namespace jumplark::kwin
