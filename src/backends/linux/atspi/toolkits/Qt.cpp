#include "backends/linux/atspi/toolkits/Qt.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/AccessibleNames.h"
#include "backends/linux/atspi/toolkits/ControlParts.h"
#include "backends/linux/atspi/toolkits/QtScrollBars.h"
#include "platform/Texts.h"

namespace jumplark::atspi {
namespace {

/// Points of an edge, which tell nobody what it is.
constexpr double kLeastPart = 4;

/// What is left of a part when something lies over one of its ends.
void cutOff(double& from, double& to, double coverFrom, double coverTo) {
  if (coverFrom <= from) {
    from = std::max(from, coverTo);
  } else if (coverTo >= to) {
    to = std::min(to, coverFrom);
  }
}

bool isTable(const ElementFacts& element) {
  return element.role == role::table || element.role == role::tree || element.role == role::treeTable;
}

/// The buttons of a row of tabs, or the strips that the headers of a table fill.
std::vector<Rect> coversIn(const ElementFacts& container, const std::vector<ElementFacts*>& children) {
  const Rect& whole = *container.extents;
  std::vector<Rect> covers;
  std::optional<Rect> top;
  std::optional<Rect> side;
  for (const ElementFacts* child : children) {
    const Rect& r = *child->extents;
    if (child->role == role::pushButton && !isTable(container)) {
      covers.push_back(r);
    } else if (child->role == role::tableColumnHeader) {
      top = Rect{whole.x, r.y, whole.width, r.height};
    } else if (child->role == role::tableRowHeader) {
      side = Rect{r.x, whole.y, r.width, whole.height};
    }
  }
  for (const auto& strip : {top, side}) {
    if (strip) {
      covers.push_back(*strip);
    }
  }
  return covers;
}

bool mayBeOccluded(const ElementFacts& item) {
  return item.role == role::pageTab || item.role == role::tableCell || item.role == role::listItem ||
         item.role == role::treeItem;
}

/// `covers` are each as long or as high as what they lie over.
bool isOccluded(const Rect& item, const Rect& container, const std::vector<Rect>& covers) {
  const Rect part = intersection(item, container);
  double left = part.minX();
  double right = part.maxX();
  double top = part.minY();
  double bottom = part.maxY();
  // The one at the end first, then the one before it.
  for (size_t round = 0; round < covers.size(); ++round) {
    for (const Rect& cover : covers) {
      if (cover.minY() <= top && cover.maxY() >= bottom) {
        cutOff(left, right, cover.minX(), cover.maxX());
      } else if (cover.minX() <= left && cover.maxX() >= right) {
        cutOff(top, bottom, cover.minY(), cover.maxY());
      }
    }
  }
  return right - left < kLeastPart || bottom - top < kLeastPart;
}

/// Cells of all columns say that they can be expanded; the first one of a row has the arrow before it.
void addArrowsOfRows(const ElementFacts& tree, Reading& reading) {
  const double space = 20 * unitOf(reading);
  std::map<double, const ElementFacts*> first;  // by height
  for (const ElementFacts* cell : reading.elements.childrenOf(tree)) {
    if (cell->extents && (cell->role == role::tableCell || cell->role == role::treeItem)) {
      const ElementFacts*& known = first[cell->extents->y];
      known = !known || cell->extents->x < known->extents->x ? cell : known;
    }
  }
  for (const auto& [y, cell] : first) {
    if (cell->is(state::expandable) && cell->is(state::showing)) {
      addTriangle(reading, *cell, {cell->extents->x - space, y, space, cell->extents->height});
    }
  }
}

}  // namespace

Point Qt::originIn(const WindowFacts& window, const Rect& reportedFrame) const {
  if (window.knowsItsPlace) {
    return {};
  }
  // Its own decorations are as thick at the bottom as at the sides.
  const double side = (window.surface.width - reportedFrame.width) / 2;
  return {window.surface.x + side, window.surface.maxY() - reportedFrame.height - side};
}

bool Qt::isLeaf(uint32_t number) const {
  return number == role::checkBox || number == role::radioButton;
}

bool Qt::isPlain(uint32_t number) const {
  return role::isOneOf<role::pushButton, role::checkBox, role::radioButton, role::pageTab, role::menuItem,
                       role::filler>(number);
}

bool Qt::mayHaveOpenMenu(const ElementFacts& element) const {
  return element.role == role::pushButton && element.childCount == 0 && element.is(state::pressed);
}

void Qt::settle(CallRunner& runner, const WalkPlan& plan, ElementDraft& elements,
                std::vector<std::shared_ptr<ElementFacts>>& walked) const {
  takeScrollBarsOff(runner, plan, elements, walked);
}

void Qt::nameControls(ElementDraft& elements) const {
  for (const auto& [ref, bar] : elements) {
    if (bar->role != role::toolBar || bar->children.empty()) {
      continue;
    }
    ElementFacts* first = elements.find(bar->children.front());
    // In a main window it opens the tool bar, elsewhere a menu.
    if (first && !hasWords(*first) && (first->role == role::checkBox || first->role == role::pushButton)) {
      first->name = localized("More");
      first->description = ">>";
    }
  }
}

void Qt::hideOccluded(ElementDraft& elements) const {
  for (const auto& [ref, element] : elements) {
    if (!element->extents || !(element->role == role::pageTabList || isTable(*element))) {
      continue;
    }
    auto children = elements.childrenOf(*element);
    std::erase_if(children, [](const ElementFacts* child) { return !child->extents; });
    const auto covers = coversIn(*element, children);
    for (ElementFacts* child : children) {
      if (!covers.empty() && mayBeOccluded(*child) && isOccluded(*child->extents, *element->extents, covers)) {
        child->hide();
      }
    }
  }
}

void Qt::addParts(Reading& reading) const {
  for (const ElementFacts* element :
       shownOf(reading.elements, role::isOneOf<role::spinButton, role::tree, role::treeTable>)) {
    element->role == role::spinButton ? addStackedSteppers(reading, *element) : addArrowsOfRows(*element, reading);
  }
}

}  // namespace jumplark::atspi
