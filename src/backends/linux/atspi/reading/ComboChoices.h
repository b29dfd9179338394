#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/reading/TreeWalk.h"

namespace jumplark::atspi {

/// Reads what is chosen in the combo boxes among the elements, as their text: the entry that is selected in the closed
/// list, which no walk of what shows comes to. Boxes with a field of their own have its text instead.
class ChoiceReader {
 public:
  /// Asks which entries are selected. The calls are under way until finish().
  void begin(CallRunner& runner, const std::vector<std::shared_ptr<ElementFacts>>& elements, TimePoint deadline);
  void finish(CallRunner& runner, TimePoint deadline);

 private:
  void askChoice(const std::shared_ptr<ElementFacts>& box, const ElementRef& holder);

  TypedBatch batch_;
  std::vector<std::pair<std::shared_ptr<ElementFacts>, ElementRef>> lists_;  ///< boxes, and what tells their choice
  std::vector<std::pair<std::shared_ptr<ElementFacts>, ElementRef>> chosen_;
};

/// Both steps at once.
void readChoices(CallRunner& runner, const std::vector<std::shared_ptr<ElementFacts>>& elements, TimePoint deadline);

}  // namespace jumplark::atspi
