#include "backends/linux/atspi/reading/ComboChoices.h"

#include <utility>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/element/TextUnits.h"

namespace jumplark::atspi {
namespace {

/// Who tells what is selected: the box itself (GTK 3), or the closed list below it (browsers).
const ElementRef* chooser(const ElementFacts& box) {
  if (box.role != role::comboBox || box.is(state::editable) || !box.is(state::showing)) {
    return nullptr;
  }
  if ((box.interfaces & interface_bit::selection) != 0) {
    return &box.ref;
  }
  return box.children.size() == 1 ? &box.children[0] : nullptr;
}

void keepChoice(ElementFacts& box, std::string choice) {
  box.characterCount = codePointCount(choice);
  box.shortText = std::move(choice);
  box.known |= facts::text;
  box.interfaces |= interface_bit::text;
}

}  // namespace

void ChoiceReader::begin(CallRunner& runner, const std::vector<std::shared_ptr<ElementFacts>>& elements,
                         TimePoint deadline) {
  for (const auto& element : elements) {
    if (const ElementRef* asked = chooser(*element)) {
      batch_.add<ElementRef>(calls::selectedChild(*handleOf(*asked), 0),
                             [this, box = element](ElementRef& entry) { chosen_.emplace_back(box, entry); });
    }
  }
  batch_.start(runner, deadline);
}

void ChoiceReader::finish(CallRunner& runner, TimePoint deadline) {
  batch_.finish();
  for (const auto& [box, entry] : chosen_) {
    if (handleOf(entry)) {
      batch_.add<std::string>(calls::name(*handleOf(entry)), [box = box](std::string& name) {
        if (!isBlank(name)) {
          keepChoice(*box, std::move(name));
        }
      });
    }
  }
  batch_.run(runner, deadline);
}

void readChoices(CallRunner& runner, const std::vector<std::shared_ptr<ElementFacts>>& elements, TimePoint deadline) {
  ChoiceReader reader;
  reader.begin(runner, elements, deadline);
  reader.finish(runner, deadline);
}

}  // namespace jumplark::atspi
