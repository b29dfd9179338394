#pragma once

#include <cstdint>
#include <vector>

#include "backends/linux/x11/X11Connection.h"

namespace jumplark::x11 {

/// The keycodes of the modifier keys that are down, each once; without the lock keys, whose press would change a lock.
std::vector<uint8_t> heldModifierKeys(const X11Connection& x);

}  // namespace jumplark::x11
