#include "backends/linux/atspi/reading/AccessibleNames.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <utility>
#include <vector>

#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "backends/linux/atspi/element/Roles.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {
namespace {

/// A border around the control.
constexpr double kTolerance = 4;
/// LibreOffice's fields stand seven deep in what names them.
constexpr int kMostSteps = 10;

bool isButton(const ElementFacts& element) {
  return element.role == role::pushButton || element.role == role::toggleButton;
}

bool lacksWords(const ElementFacts& element) {
  const bool isField = element.role == role::text || element.role == role::entry;
  return (isField || (isButton(element) && isBlank(element.shortText))) && element.is(state::showing) &&
         element.extents && !hasWords(element) && element.labelledBy.empty();
}

bool endsLike(const ElementFacts& holder, const ElementFacts& control) {
  return holder.extents && std::abs(holder.extents->y - control.extents->y) <= kTolerance &&
         std::abs(holder.extents->maxY() - control.extents->maxY()) <= kTolerance;
}

/// Null when nothing around the control speaks for it.
const ElementFacts* holderOf(const ElementFacts& control, const ElementDraft& elements) {
  const ElementFacts* holder = elements.find(control.parent);
  for (int step = 0; step < kMostSteps && holder; ++step) {
    if (!(holder->role == role::panel || holder->role == role::filler) || !endsLike(*holder, control)) {
      return nullptr;
    }
    if (hasWords(*holder) || !holder->labelledBy.empty()) {
      return holder;
    }
    holder = elements.find(holder->parent);
  }
  return nullptr;
}

bool mayBeNamedAfterPicture(const ElementFacts& element) {
  return role::isOneOf<role::listItem, role::treeItem, role::tableRow, role::tableCell>(element.role) &&
         element.is(state::showing) && !hasWords(element) && isBlank(element.shortText) && !element.children.empty();
}

/// What is drawn, or only holds it, and is nothing to choose itself.
bool isDrawn(const ElementFacts& element) {
  return role::isOneOf<role::drawingArea, role::canvas, role::panel, role::filler, role::unknown>(element.role) &&
         !element.is(state::focusable) && isBlank(element.shortText);
}

/// Adds all that stands in an element, in order; false as soon as something is not drawn.
bool addDrawn(const ElementFacts& element, const ElementDraft& elements, std::vector<ElementFacts*>& to) {
  return std::ranges::all_of(elements.childrenOf(element), [&](ElementFacts* inner) {
    to.push_back(inner);
    return isDrawn(*inner) && addDrawn(*inner, elements, to);
  });
}

}  // namespace

bool hasWords(const ElementFacts& element) {
  return !isBlank(element.name) || !isBlank(element.description);
}

void nameAfterHolders(ElementDraft& elements) {
  std::map<std::pair<const ElementFacts*, bool>, std::vector<ElementFacts*>> held;
  for (const auto& [ref, element] : elements) {
    if (!lacksWords(*element)) {
      continue;
    }
    if (const ElementFacts* holder = holderOf(*element, elements)) {
      held[{holder, isButton(*element)}].push_back(element.get());
    }
  }
  for (const auto& [place, controls] : held) {
    if (controls.size() != 1) {
      continue;
    }
    const ElementFacts& holder = *place.first;
    ElementFacts& control = *controls.front();
    control.name = holder.name;
    control.description = holder.description;
    if (!hasWords(holder)) {
      control.labelledBy = holder.labelledBy;
    }
  }
}

void nameAfterPictures(ElementDraft& elements) {
  std::vector<ElementRef> replaced;
  for (const auto& [ref, row] : elements) {
    std::vector<ElementFacts*> drawn;
    if (!mayBeNamedAfterPicture(*row) || !addDrawn(*row, elements, drawn) ||
        std::ranges::count_if(drawn, [](const ElementFacts* one) { return hasWords(*one); }) != 1) {
      continue;
    }
    const ElementFacts& picture = **std::ranges::find_if(drawn, [](const ElementFacts* one) { return hasWords(*one); });
    row->name = isBlank(picture.name) ? picture.description : picture.name;
    if (row->role != role::tableCell) {
      row->children.clear();
      row->childCount = 0;
      std::ranges::transform(drawn, std::back_inserter(replaced), [](const ElementFacts* one) { return one->ref; });
    }
  }
  for (const ElementRef& ref : replaced) {
    elements.remove(ref);
  }
}

bool mayNameAButton(const ElementFacts& element, const ElementDraft& elements) {
  return element.role == role::filler && !hasWords(element) &&
         std::ranges::any_of(elements.childrenOf(element), [&](const ElementFacts* inner) {
           return isButton(*inner) && lacksWords(*inner) && endsLike(element, *inner);
         });
}

}  // namespace jumplark::atspi
