#include "backends/linux/atspi/toolkits/ControlParts.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>

#include "backends/linux/atspi/element/Roles.h"
#include "platform/Texts.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {
namespace {

std::string withoutColon(const std::string& caption) {
  return caption.ends_with(':') ? caption.substr(0, caption.size() - 1) : caption;
}

/// Its own name, else that of its caption or of the first thing in it that has one.
std::string captionOf(const ElementFacts& element, const ElementDraft& elements) {
  if (!isBlank(element.name)) {
    return withoutColon(element.name);
  }
  for (const ElementRef& caption : element.labelledBy) {
    if (const ElementFacts* label = elements.find(caption); label && !isBlank(label->name)) {
      return withoutColon(label->name);
    }
  }
  const auto inner = elements.childrenOf(element);
  const auto named = std::ranges::find_if(inner, [](const ElementFacts* one) { return !isBlank(one->name); });
  return named == inner.end() ? std::string() : (*named)->name;
}

}  // namespace

std::vector<const ElementFacts*> shownOf(const ElementDraft& elements, bool (*isWanted)(uint32_t role)) {
  std::vector<const ElementFacts*> found;
  for (const auto& [ref, element] : elements) {
    if (isWanted(element->role) && element->extents && element->is(state::showing)) {
      found.push_back(element.get());
    }
  }
  std::ranges::sort(found, {}, [](const ElementFacts* one) { return std::pair(one->extents->y, one->extents->x); });
  return found;
}

double unitOf(const Reading& reading) {
  return reading.transform.placement.scale;
}

void addSteppers(Reading& reading, const ElementFacts& field, const Rect& more, const Rect& less) {
  if (!field.is(state::enabled) && !field.is(state::sensitive)) {
    return;
  }
  const std::string caption = captionOf(field, reading.elements);
  addPart(reading, field,
          {"more", role::pushButton,
           caption.empty() ? std::string(localized("Increase")) : localizedFormat("Increase {}", caption), more});
  addPart(reading, field,
          {"less", role::pushButton,
           caption.empty() ? std::string(localized("Decrease")) : localizedFormat("Decrease {}", caption), less});
}

void addSquareSteppers(Reading& reading, const ElementFacts& field) {
  const Rect& r = *field.extents;
  if (r.height > r.width) {
    addSteppers(reading, field, {r.x, r.y, r.width, r.width}, {r.x, r.maxY() - r.width, r.width, r.width});
  } else if (r.width > 2 * r.height) {
    addSteppers(reading, field, {r.maxX() - r.height, r.y, r.height, r.height},
                {r.maxX() - 2 * r.height, r.y, r.height, r.height});
  }
}

void addStackedSteppers(Reading& reading, const ElementFacts& field) {
  const double arrow = 16 * unitOf(reading);
  const Rect& r = *field.extents;
  const double half = r.height / 2;
  addSteppers(reading, field, {r.maxX() - arrow, r.y, arrow, half}, {r.maxX() - arrow, r.y + half, arrow, half});
}

void addTriangle(Reading& reading, const ElementFacts& row, const Rect& place) {
  constexpr uint64_t kExpandable = uint64_t{1} << static_cast<unsigned>(state::expandable);
  constexpr uint64_t kExpanded = uint64_t{1} << static_cast<unsigned>(state::expanded);
  const bool isOpen = row.is(state::expanded);
  const std::string caption = captionOf(row, reading.elements);
  addPart(reading, row,
          {"triangle", role::toggleButton,
           isOpen ? localizedFormat("Collapse {}", caption) : localizedFormat("Expand {}", caption), place,
           isOpen ? kExpandable | kExpanded : kExpandable});
}

void addCross(Reading& reading, const ElementFacts& tab, const Rect& place) {
  addPart(reading, tab,
          {"cross", role::pushButton, localizedFormat("Close {}", captionOf(tab, reading.elements)), place});
}

}  // namespace jumplark::atspi
