#pragma once

#include <memory>
#include <vector>

#include "backends/linux/atspi/element/ElementDraft.h"

namespace jumplark::atspi {

class CallRunner;
struct WalkPlan;

/// Leaves of a row of GTK 3's lists and tables what a person would name: a column that draws several things is a cell
/// with one cell for each, and pictures and empty texts are cells without a word. These are nothing to choose where the
/// row has words, since a press anywhere chooses it; boxes to tick, which are cells without a word too, stay.
void dropNamelessCells(CallRunner& runner, const WalkPlan& plan, const ElementDraft& elements,
                       const std::vector<std::shared_ptr<ElementFacts>>& walked);

}  // namespace jumplark::atspi
