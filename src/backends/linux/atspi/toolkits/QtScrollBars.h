#pragma once

#include <memory>
#include <vector>

#include "backends/linux/atspi/element/ElementDraft.h"

namespace jumplark::atspi {

class CallRunner;
struct WalkPlan;

/// Takes the scroll bars off lists, tables and trees. Qt tells their outer edges only, and nothing of the bars inside
/// them; whether there are some follows from how far the content reaches, of which the first and the last cell are
/// asked where not all are known to show.
void takeScrollBarsOff(CallRunner& runner, const WalkPlan& plan, const ElementDraft& elements,
                       const std::vector<std::shared_ptr<ElementFacts>>& walked);

}  // namespace jumplark::atspi
