#include "backends/linux/atspi/toolkits/Gtk3Cells.h"

#include <algorithm>
#include <map>
#include <string>
#include <tuple>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/AccessibleNames.h"
#include "backends/linux/atspi/reading/WalkSteps.h"

namespace jumplark::atspi {
namespace {

constexpr uint32_t kTellsItsKind = interface_bit::image | interface_bit::text;
/// To expand its row, to be edited, to be activated; their names are in the program's language.
constexpr size_t kActionsOfAnyCell = 3;

struct Row {
  bool hasWords = false;
  std::vector<ElementFacts*> nameless;
};

/// By table, upper edge and height.
using Rows = std::map<std::tuple<const ElementFacts*, double, double>, Row>;

bool isCell(const ElementFacts* element) {
  return element->role == role::tableCell;
}

bool isTable(const ElementFacts& element) {
  return role::isOneOf<role::table, role::treeTable, role::tree>(element.role);
}

Rows rowsOf(const ElementDraft& elements, const std::vector<std::shared_ptr<ElementFacts>>& walked) {
  Rows rows;
  for (const auto& cell : walked) {
    if (!isCell(cell.get()) || !cell->is(state::showing) || !cell->extents) {
      continue;
    }
    const bool isColumn = std::ranges::any_of(elements.childrenOf(*cell), isCell);
    if (isColumn && !hasWords(*cell)) {
      cell->isNoChoice = true;
      continue;
    }
    const ElementFacts* table = elements.findAbove(*cell, isTable);
    Row& row = rows[{table, cell->extents->y, cell->extents->height}];
    if (hasWords(*cell)) {
      row.hasWords = true;
    } else if (!cell->is(state::checked)) {
      row.nameless.push_back(cell.get());
    }
  }
  return rows;
}

}  // namespace

void dropNamelessCells(CallRunner& runner, const WalkPlan& plan, const ElementDraft& elements,
                       const std::vector<std::shared_ptr<ElementFacts>>& walked) {
  TypedBatch batch;
  const Rows rows = rowsOf(elements, walked);
  for (const auto& [place, row] : rows) {
    for (ElementFacts* cell : row.hasWords ? row.nameless : std::vector<ElementFacts*>()) {
      if ((cell->interfaces & kTellsItsKind) != 0) {
        cell->isNoChoice = true;
      } else {
        batch.add<std::vector<std::string>>(calls::actionNames(*handleOf(cell->ref)),
                                            [cell](std::vector<std::string>& names) {
                                              if (names.size() <= kActionsOfAnyCell) {
                                                cell->isNoChoice = true;
                                              }
                                            });
      }
    }
  }
  batch.run(runner, plan.deadline);
}

}  // namespace jumplark::atspi
