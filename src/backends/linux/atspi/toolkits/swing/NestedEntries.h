#pragma once

#include "backends/linux/atspi/element/FactsMap.h"

namespace jumplark::atspi {

/// Java's trees hold their entries in one another, though each lies below the one that holds it, not in it. All become
/// children of the tree, in the order in which they show, so that only the tree and what is around it clips them.
void reparentNestedEntries(FactsMap& elements);

}  // namespace jumplark::atspi
