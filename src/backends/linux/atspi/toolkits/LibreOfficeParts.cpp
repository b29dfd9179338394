#include "backends/linux/atspi/toolkits/LibreOfficeParts.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/CoordinateTransform.h"
#include "backends/linux/atspi/toolkits/ControlParts.h"
#include "platform/Texts.h"
#include "platform/Utf8.h"

namespace jumplark::atspi::libreoffice {
namespace {

/// Of an arrow, as part of the button's width without it.
constexpr double kNarrowestArrow = 0.2;
constexpr double kWidestArrow = 0.5;
/// Of a border between a table and its headers.
constexpr double kBorder = 3;

bool shows(const ElementFacts& element) {
  return element.is(state::showing) && element.extents;
}

std::vector<ElementFacts*> buttonsOf(const ElementFacts& bar, const ElementDraft& elements) {
  std::vector<ElementFacts*> buttons = elements.childrenOf(bar);
  std::erase_if(buttons, [](const ElementFacts* one) {
    return !role::isOneOf<role::pushButton, role::toggleButton>(one->role) || !shows(*one) || isBlank(one->name);
  });
  return buttons;
}

/// Of most buttons; none where no two have the same.
double commonWidth(const std::vector<ElementFacts*>& buttons) {
  std::map<double, int> counts;
  for (const ElementFacts* button : buttons) {
    ++counts[button->extents->width];
  }
  const auto most = std::ranges::max_element(counts, {}, [](const auto& one) { return one.second; });
  return most != counts.end() && most->second > 1 ? most->first : 0;
}

void addArrows(const ElementFacts& bar, Reading& reading) {
  const std::vector<ElementFacts*> buttons = buttonsOf(bar, reading.elements);
  const double common = commonWidth(buttons);
  for (const ElementFacts* button : buttons) {
    const Rect& place = *button->extents;
    const double arrow = place.width - common;
    if (common > 0 && arrow >= common * kNarrowestArrow && arrow <= common * kWidestArrow) {
      addPart(reading, *button,
              {"arrow", role::pushButtonMenu, localizedFormat("Menu of {}", button->name),
               Rect{place.maxX() - arrow, place.y, arrow, place.height}});
    }
  }
}

/// The strip beside the document that ends where the table begins, and is as long as that; null without one.
const ElementFacts* stripAt(const Rect& table, const ElementFacts& document, const ElementDraft& elements, bool above) {
  const ElementFacts* around = elements.find(document.parent);
  for (const ElementFacts* one : around ? elements.childrenOf(*around) : std::vector<ElementFacts*>()) {
    if (one->role != role::panel || !shows(*one)) {
      continue;
    }
    const Rect& strip = *one->extents;
    const bool isAbove = isNear(strip.x, table.x, kBorder) && isNear(strip.width, table.width, kBorder) &&
                         isNear(strip.maxY(), table.y, kBorder);
    const bool isBeside = isNear(strip.y, table.y, kBorder) && isNear(strip.height, table.height, kBorder) &&
                          isNear(strip.maxX(), table.x, kBorder);
    if (above ? isAbove : isBeside) {
      return one;
    }
  }
  return nullptr;
}

void addHeaders(const ElementFacts& table, const ElementFacts& document, Reading& reading) {
  std::map<double, std::pair<std::string, Rect>> columns;  // from left to right
  std::map<double, std::pair<std::string, Rect>> rows;     // from top to bottom
  for (const ElementFacts* cell : reading.elements.childrenOf(table)) {
    if (shows(*cell) && isNamedByPlace(*cell)) {
      const size_t row = cell->name.find_first_of("0123456789");
      columns.try_emplace(cell->extents->x, cell->name.substr(0, row), *cell->extents);
      rows.try_emplace(cell->extents->y, cell->name.substr(row), *cell->extents);
    }
  }
  if (const ElementFacts* strip = stripAt(*table.extents, document, reading.elements, true)) {
    for (const auto& [left, header] : columns) {
      const auto& [column, cell] = header;
      addPart(reading, *strip,
              {"column" + column, role::tableColumnHeader, localizedFormat("Column {}", column),
               Rect{cell.x, strip->extents->y, cell.width, strip->extents->height}});
    }
  }
  if (const ElementFacts* strip = stripAt(*table.extents, document, reading.elements, false)) {
    for (const auto& [top, header] : rows) {
      const auto& [row, cell] = header;
      addPart(reading, *strip,
              {"row" + row, role::tableRowHeader, localizedFormat("Row {}", row),
               Rect{strip->extents->x, cell.y, strip->extents->width, cell.height}});
    }
  }
}

}  // namespace

void addParts(Reading& reading) {
  for (const ElementFacts* bar : shownOf(reading.elements, role::isOneOf<role::toolBar>)) {
    if (bar->extents->width > bar->extents->height) {
      addArrows(*bar, reading);
    }
  }
  for (const ElementFacts* table : shownOf(reading.elements, role::isOneOf<role::table>)) {
    const ElementFacts* document = reading.elements.find(table->parent);
    if (document && document->role == role::documentSpreadsheet) {
      addHeaders(*table, *document, reading);
    }
  }
}

}  // namespace jumplark::atspi::libreoffice
