#include "backends/linux/atspi/toolkits/QtScrollBars.h"

#include <algorithm>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/WalkSteps.h"

namespace jumplark::atspi {
namespace {

/// Points. How thick a bar is depends on the style, which nobody tells: what has no room beside the thinnest one needs
/// a bar, and what reaches below a usual one may be covered.
constexpr double kThinnestBar = 10;
constexpr double kUsualBar = 16;
constexpr double kFrame = 1;

bool isItemView(const ElementFacts& element) {
  return role::isOneOf<role::list, role::table, role::tree, role::treeTable>(element.role);
}

Rect united(const Rect& a, const Rect& b) {
  if (a.isNull() || b.isNull()) {
    return a.isNull() ? b : a;
  }
  const double x = std::min(a.minX(), b.minX());
  const double y = std::min(a.minY(), b.minY());
  return {x, y, std::max(a.maxX(), b.maxX()) - x, std::max(a.maxY(), b.maxY()) - y};
}

/// One list, table or tree.
struct ItemView {
  ItemView(ElementFacts& view, const ElementDraft& elements) : element(view) {
    const Rect& whole = *view.extents;
    double left = whole.minX() + kFrame;
    double top = whole.minY() + kFrame;
    for (const ElementFacts* child : elements.childrenOf(view)) {
      if (!child->is(state::showing) || !child->extents) {
        isPart = true;
      } else if (child->role == role::tableColumnHeader) {
        top = std::max(top, child->extents->maxY());
      } else if (child->role == role::tableRowHeader) {
        left = std::max(left, child->extents->maxX());
      } else {
        content = united(content, *child->extents);
      }
    }
    isPart = isPart || view.childrenAreVisibleOnly;
    body = {left, top, whole.maxX() - kFrame - left, whole.maxY() - kFrame - top};
  }

  void takeBarsOff() const {
    bool isTall = false;
    bool isWide = false;
    // A bar takes room of what is then too large for the rest.
    for (int round = 0; round < 2; ++round) {
      isTall =
          isTall || content.minY() < body.minY() - kFrame || content.maxY() > body.maxY() - (isWide ? kThinnestBar : 0);
      isWide =
          isWide || content.minX() < body.minX() - kFrame || content.maxX() > body.maxX() - (isTall ? kThinnestBar : 0);
    }
    const Size bars{isTall ? kUsualBar : 0, isWide ? kUsualBar : 0};
    if (element.extents->width > bars.width && element.extents->height > bars.height) {
      element.bars = bars;
      element.extents->width -= bars.width;
      element.extents->height -= bars.height;
    }
  }

  ElementFacts& element;
  Rect body;                    ///< without headers
  Rect content = Rect::null();  ///< as far as it is known
  bool isPart = false;          ///< not all of it shows
};

/// Where the first and the last cell would be.
void readEnds(CallRunner& runner, const WalkPlan& plan, std::vector<ItemView>& views) {
  TypedBatch cells;
  std::vector<std::pair<ItemView*, ElementRef>> ends;
  for (ItemView& view : views) {
    const AtspiHandle& handle = *handleOf(view.element.ref);
    if (!view.isPart || view.element.childCount <= 0 || (view.element.interfaces & interface_bit::table) == 0) {
      continue;
    }
    const auto keep = [&ends, &view](ElementRef& cell) { ends.emplace_back(&view, cell); };
    cells.add<ElementRef>(calls::accessibleAt(handle, 0, 0), keep);
    cells.add<ElementRef>(calls::childAt(handle, static_cast<int32_t>(view.element.childCount - 1)), keep);
  }
  cells.run(runner, plan.deadline);
  TypedBatch places;
  for (const auto& [view, cell] : ends) {
    if (const AtspiHandle* handle = handleOf(cell)) {
      places.add<Rect>(calls::extents(*handle, plan.toolkit->coordinates()), [&plan, of = view](Rect& told) {
        if (told.width > 0 && told.height > 0) {
          of->content = united(of->content, {told.x + plan.offset.x, told.y + plan.offset.y, told.width, told.height});
        }
      });
    }
  }
  places.run(runner, plan.deadline);
}

}  // namespace

void takeScrollBarsOff(CallRunner& runner, const WalkPlan& plan, const ElementDraft& elements,
                       const std::vector<std::shared_ptr<ElementFacts>>& walked) {
  std::vector<ItemView> views;
  for (const auto& element : walked) {
    if (isItemView(*element) && element->is(state::showing) && element->extents && handleOf(element->ref)) {
      views.emplace_back(*element, elements);
    }
  }
  readEnds(runner, plan, views);
  for (const ItemView& view : views) {
    if (!view.content.isNull()) {
      view.takeBarsOff();
    }
  }
}

}  // namespace jumplark::atspi
