#include "backends/linux/atspi/toolkits/LibreOffice.h"

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/AccessibleNames.h"

namespace jumplark::atspi::libreoffice {
namespace {

bool haveSameSize(const ElementFacts& a, const ElementFacts& b) {
  return a.extents && b.extents && isNear(a.extents->width, b.extents->width) &&
         isNear(a.extents->height, b.extents->height);
}

Point between(const ElementFacts& from, const ElementFacts& to) {
  return {to.extents->x - from.extents->x, to.extents->y - from.extents->y};
}

bool isNearTo(Point a, Point b) {
  return isNear(a.x, b.x) && isNear(a.y, b.y);
}

void moveDrawn(ElementFacts& element, Point shift, Reading& reading) {
  for (ElementFacts* child : reading.elements.childrenOf(element)) {
    if (!haveSameSize(element, *child) || !isNearTo(between(element, *child), shift)) {
      moveDrawn(*child, shift, reading);
    }
  }
  reading.transform.move(element, shift);
}

}  // namespace

bool runs(const ToolkitFacts& facts) {
  return facts.application.starts_with("soffice") || facts.application.starts_with("LibreOffice");
}

bool mayBeCaptioned(const ElementFacts& element, const ElementDraft& elements) {
  return mayNameAButton(element, elements);
}

bool mayHoldLinks(const ElementFacts& element) {
  return role::isOneOf<role::paragraph, role::heading>(element.role) &&
         (element.interfaces & interface_bit::hypertext) != 0;
}

void nameControls(ElementDraft& elements) {
  nameAfterHolders(elements);
}

void correctPlaces(Reading& reading) {
  std::vector<ElementFacts*> panes;
  for (const auto& [ref, element] : reading.elements) {
    const ElementFacts* above = reading.elements.find(element->parent);
    if (element->role == role::rootPane && above && haveSameSize(*element, *above) &&
        !isNearTo(between(*element, *above), {})) {
      panes.push_back(element.get());
    }
  }
  for (ElementFacts* pane : panes) {
    moveDrawn(*pane, between(*pane, *reading.elements.find(pane->parent)), reading);
  }
}

}  // namespace jumplark::atspi::libreoffice
