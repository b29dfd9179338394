#include "backends/linux/atspi/reading/ComboChoices.h"

#include <utility>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/element/Roles.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {
namespace {

bool isClosedChooser(const ElementFacts& box) {
  return box.role == role::comboBox && !box.is(state::editable) && box.is(state::showing);
}

void keepChoice(ElementFacts& box, std::string choice) {
  box.characterCount = codePointCount(choice);
  box.shortText = std::move(choice);
  box.known |= facts::text;
  box.interfaces |= interface_bit::text;
}

}  // namespace

void ChoiceReader::askChoice(const std::shared_ptr<ElementFacts>& box, const ElementRef& holder) {
  batch_.add<ElementRef>(calls::selectedChild(*handleOf(holder), 0),
                         [this, box](ElementRef& entry) { chosen_.emplace_back(box, entry); });
}

void ChoiceReader::begin(CallRunner& runner, const std::vector<std::shared_ptr<ElementFacts>>& elements,
                         TimePoint deadline) {
  for (const auto& element : elements) {
    if (!isClosedChooser(*element)) {
      continue;
    }
    // What is selected is told by the box itself (GTK 3) or by the closed list below it (browsers), if that is one.
    if ((element->interfaces & interface_bit::selection) != 0) {
      askChoice(element, element->ref);
    } else if (element->children.size() == 1) {
      batch_.add<std::vector<std::string>>(calls::interfaces(*handleOf(element->children[0])),
                                           [this, box = element](std::vector<std::string>& names) {
                                             if ((calls::interfaceBits(names) & interface_bit::selection) != 0) {
                                               lists_.emplace_back(box, box->children[0]);
                                             }
                                           });
    }
  }
  batch_.start(runner, deadline);
}

void ChoiceReader::finish(CallRunner& runner, TimePoint deadline) {
  batch_.finish();
  for (const auto& [box, list] : lists_) {
    askChoice(box, list);
  }
  batch_.run(runner, deadline);
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
