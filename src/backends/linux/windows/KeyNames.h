#pragma once

#include <string>

#include "platform/GlobalShortcuts.h"

namespace jumplark {

/// As a person reads it, in the user's language: "Control+Alt+Super+Shift+Space".
std::string describeShortcut(const Shortcut& shortcut);

}  // namespace jumplark
