#pragma once

#include <memory>
#include <vector>

#include "backends/linux/atspi/reading/TextReading.h"
#include "backends/linux/atspi/reading/TreeWalk.h"

namespace jumplark::atspi {

/// Makes elements of the links in those texts of which the toolkit says that they may hold some. Each has its words for
/// a name and the place of its words, which its toolkit does not tell of it but of the text around it; it is a part of
/// the text (see Parts.h) and stands in it, in the place of the link that the toolkit lists there. `texts` is what has
/// been read of them.
void readLinks(CallRunner& runner, const WalkPlan& plan, ElementDraft& elements, const TextMap& texts,
               const std::vector<std::shared_ptr<ElementFacts>>& all);

}  // namespace jumplark::atspi
