#pragma once

#include <vector>

#include "backends/linux/atspi/reading/Toolkit.h"

/// Qt gives its elements numbers in the order in which it makes them, by which they can be asked for though nobody
/// lists them.
namespace jumplark::atspi {

/// The menus that show and belong to the application as a whole, like those of a right click: what was made last is
/// looked at first. `frame` is any of its windows, `last` the last snapshot, or null.
std::vector<ElementRef> unlistedMenus(CallRunner& runner, const ElementRef& frame, const Snapshot* last,
                                      TimePoint deadline);

}  // namespace jumplark::atspi
