#include "backends/linux/atspi/toolkits/Gtk3.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <vector>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/AccessibleNames.h"
#include "backends/linux/atspi/toolkits/ControlParts.h"
#include "backends/linux/atspi/toolkits/Gtk3Cells.h"

namespace jumplark::atspi {
namespace {

/// Of the space for a triangle in any theme, in the toolkit's units.
constexpr double kNarrowestTriangle = 12;
constexpr double kWidestTriangle = 30;

/// A row stands to the right of its triangle, by one space for each level. GTK tells it twice as far to the right,
/// since it adds what stands before a row to a place that has it already.
void addTrianglesOf(const ElementFacts& tree, Reading& reading) {
  std::vector<const ElementFacts*> rows;
  double nearest = std::numeric_limits<double>::infinity();
  for (const ElementFacts* row : reading.elements.childrenOf(tree)) {
    if (row->role == role::tableCell && row->extents && row->is(state::showing)) {
      nearest = std::min(nearest, row->extents->x - tree.extents->x);
      if (row->is(state::expandable)) {
        rows.push_back(row);
      }
    }
  }
  const double space = nearest / 2;
  const double unit = unitOf(reading);
  if (space < kNarrowestTriangle * unit || space > kWidestTriangle * unit) {
    return;
  }
  for (const ElementFacts* row : rows) {
    const double end = tree.extents->x + (row->extents->x - tree.extents->x) / 2;
    addTriangle(reading, *row, {end - space, row->extents->y, space, row->extents->height});
  }
}

/// A tab tells the place of its caption alone. Tabs with a cross stand further apart than the edge of the first caption
/// from the edge of the row accounts for; what stands before captions would move that as well.
void addCrossesOf(const ElementFacts& row, Reading& reading) {
  constexpr double kPadding = 16;  // of a tab, beside its caption, in the default theme
  constexpr double kSmallestCross = 14;
  std::vector<const ElementFacts*> tabs;
  for (const ElementFacts* tab : reading.elements.childrenOf(row)) {
    if (tab->role == role::pageTab && tab->is(state::showing) && tab->extents) {
      tabs.push_back(tab);
    }
  }
  std::ranges::sort(tabs, {}, [](const ElementFacts* tab) { return tab->extents->x; });
  if (tabs.size() < 2 || tabs[0]->extents->y != tabs[1]->extents->y) {
    return;
  }
  const double apart = tabs[1]->extents->x - tabs[0]->extents->maxX();
  const double before = tabs[0]->extents->x - row.extents->x;
  const double unit = unitOf(reading);
  if (apart - 2 * before < kSmallestCross * unit) {
    return;
  }
  for (const ElementFacts* tab : tabs) {
    const Rect& caption = *tab->extents;
    addCross(reading, *tab, {caption.maxX(), caption.y, apart - 2 * kPadding * unit, caption.height});
  }
}

bool isInOpenMenu(const ElementFacts& element, const ElementDraft& elements) {
  const ElementFacts* above = elements.find(element.parent);
  return above && element.is(state::showing) &&
         role::isOneOf<role::menu, role::menuItem, role::checkMenuItem, role::radioMenuItem, role::separator>(
             element.role) &&
         role::isOneOf<role::menu, role::comboBox, role::window, role::pushButton, role::toggleButton>(above->role);
}

/// The corner of what is below the title bar in a frame.
std::optional<Point> cornerOfContent(const ElementFacts& frame, const ElementDraft& elements) {
  std::optional<Rect> highest;
  for (const ElementFacts* child : elements.childrenOf(frame)) {
    if (child->is(state::showing) && child->extents && (!highest || child->extents->height > highest->height)) {
      highest = child->extents;
    }
  }
  return highest ? std::optional(Point{highest->x, highest->y}) : std::nullopt;
}

/// How far within its window an open menu begins.
Point shadowOfMenus(const Reading& reading) {
  for (const ElementRef& popup : reading.openPopups) {
    const ElementFacts* window = reading.elements.find(popup);
    const ElementFacts* menu =
        window && !window->children.empty() ? reading.elements.find(window->children.front()) : nullptr;
    if (menu && menu->extents && window->extents) {
      return {menu->extents->x - window->extents->x, menu->extents->y - window->extents->y};
    }
  }
  return {6, 5};  // in the default theme
}

void moveAll(ElementFacts& element, Point shift, Reading& reading) {
  reading.transform.move(element, shift);
  for (ElementFacts* child : reading.elements.childrenOf(element)) {
    moveAll(*child, shift, reading);
  }
}

}  // namespace

bool Gtk3::draws(const ToolkitFacts& facts) {
  return (facts.name == "gtk" || facts.name == "GTK" || facts.name == "GAIL") && !facts.version.starts_with("4");
}

bool Gtk3::mayBeCaptioned(const ElementFacts& element, const ElementDraft& elements) const {
  return mayNameAButton(element, elements);
}

bool Gtk3::mayHoldLinks(const ElementFacts& element) const {
  return element.role == role::label && element.childCount > 0 && (element.interfaces & interface_bit::hypertext) != 0;
}

void Gtk3::addParts(Reading& reading) const {
  for (const ElementFacts* field : shownOf(reading.elements, role::isOneOf<role::spinButton>)) {
    addSquareSteppers(reading, *field);
  }
  for (const ElementFacts* tree : shownOf(reading.elements, role::isOneOf<role::treeTable>)) {
    addTrianglesOf(*tree, reading);
  }
  for (const ElementFacts* row : shownOf(reading.elements, role::isOneOf<role::pageTabList>)) {
    addCrossesOf(*row, reading);
  }
}

void Gtk3::settle(CallRunner& runner, const WalkPlan& plan, ElementDraft& elements,
                  std::vector<std::shared_ptr<ElementFacts>>& walked) const {
  dropNamelessCells(runner, plan, elements, walked);
}

void Gtk3::correctPlaces(Reading& reading) const {
  const ElementFacts* frame = reading.isLost ? reading.elements.find(reading.focusedWindow) : nullptr;
  const auto corner = frame && frame->extents ? cornerOfContent(*frame, reading.elements) : std::nullopt;
  if (!corner) {
    return;
  }
  const Point shadow = shadowOfMenus(reading);
  const Point shift{corner->x - frame->extents->x - shadow.x, corner->y - frame->extents->y - shadow.y};
  for (const auto& [ref, element] : reading.elements) {
    const bool isPopup = std::ranges::find(reading.openPopups, ref) != reading.openPopups.end();
    if (isPopup || isInOpenMenu(*element, reading.elements)) {
      moveAll(*element, shift, reading);
    }
  }
}

void Gtk3::nameControls(ElementDraft& elements) const {
  nameAfterHolders(elements);
}

}  // namespace jumplark::atspi
