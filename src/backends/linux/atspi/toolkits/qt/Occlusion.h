#pragma once

#include "backends/linux/atspi/element/FactsMap.h"

namespace jumplark::atspi {

/// Hides items of Qt's of which nothing can be seen, though it says that they show: what has been scrolled below the
/// headers of its table, and page tabs below the two buttons at the end of a row of too many.
void hideOccludedItems(FactsMap& elements);

}  // namespace jumplark::atspi
