#pragma once

#include <vector>

#include "backends/linux/atspi/vocabulary/Vocabulary.h"

namespace jumplark::atspi {

/// The buttons of the window that is in focus by the application's last snapshot, as elements of the window system's,
/// from left to right; without those that the application tells itself, since it draws its title bar. Asks no
/// application.
std::vector<ElementRef> focusedWindowButtons(const Vocabulary& vocabulary, const ElementRef& application);

}  // namespace jumplark::atspi
