#pragma once

#include <memory>
#include <vector>

#include "backends/linux/atspi/TreeWalk.h"

namespace jumplark::atspi {

/// Reads what is chosen in the combo boxes among the elements, as their text: the entry that is selected in the closed
/// list, which no walk of what shows comes to. Boxes with a field of their own have its text instead.
void readChoices(CallRunner& runner, const std::vector<std::shared_ptr<ElementFacts>>& elements, TimePoint deadline);

}  // namespace jumplark::atspi
