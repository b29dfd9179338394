#pragma once

#include <cstdint>
#include <vector>

#include "backends/linux/x11/X11Connection.h"

namespace jumplark::x11 {

/// The keycodes of the modifier keys that are down, each once; without the lock keys, whose press would change a lock.
std::vector<uint8_t> heldModifierKeys(const X11Connection& x);

/// The same in two steps, so that the questions travel with others: every one that was asked must be taken.
struct HeldModifierQuestions {
  xcb_query_keymap_cookie_t keymap;
  xcb_get_modifier_mapping_cookie_t mapping;
};
HeldModifierQuestions askHeldModifiers(const X11Connection& x);
std::vector<uint8_t> takeHeldModifiers(const X11Connection& x, const HeldModifierQuestions& questions);

}  // namespace jumplark::x11
