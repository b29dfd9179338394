#pragma once

#include <cstdint>
#include <string>

#include "platform/GlobalShortcuts.h"

namespace jumplark {

/// As a person reads it, in the user's language: "Control+Alt+Super+Shift+Space".
std::string describeShortcut(const Shortcut& shortcut);

/// The virtual key code of what a key types, an X keysym: that of a key with a code of its own, else one made of the
/// symbol.
int64_t keyCodeOf(uint32_t symbol);

/// The other way round: an X keysym that has this virtual key code; 0 where none has.
uint32_t symbolOf(int64_t keyCode);

}  // namespace jumplark
