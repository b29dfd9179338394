#include "backends/linux/atspi/reading/Toolkit.h"

#include <cmath>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/reading/Snapshot.h"
#include "backends/linux/atspi/reading/TreeWalk.h"

namespace jumplark::atspi {
namespace {

/// Larger than any arrangement of screens, smaller than the "nowhere" of GTK 3 (the smallest integer).
constexpr double kFarthest = 1'000'000;
constexpr int64_t kMostChildren = 1000;
constexpr int64_t kMostCells = 500;
constexpr int64_t kMostManagedChildren = 60;

bool has(uint64_t states, int number) {
  return ((states >> static_cast<unsigned>(number)) & 1U) != 0;
}

}  // namespace

uint32_t Toolkit::coordinates() const {
  return extentsAreWindowRelative() ? calls::kWindow : calls::kScreen;
}

std::optional<Rect> screenExtents(const Rect& reported, Point offset) {
  if (!(reported.width > 0) || !(reported.height > 0) || std::abs(reported.x) > kFarthest ||
      std::abs(reported.y) > kFarthest || reported.width > kFarthest || reported.height > kFarthest) {
    return std::nullopt;
  }
  return Rect{reported.x + offset.x, reported.y + offset.y, reported.width, reported.height};
}

bool Toolkit::shows(uint64_t states, const std::optional<Rect>& extents) const {
  return has(states, state::showing) || (!tellsShowing() && has(states, state::visible) && extents.has_value());
}

uint64_t Toolkit::statesWithShowing(const ElementFacts& element) const {
  constexpr uint64_t kShowing = uint64_t{1} << static_cast<unsigned>(state::showing);
  const uint64_t states = element.states;
  if (tellsShowing()) {
    return states;
  }
  const bool placeless = (element.interfaces & interface_bit::component) == 0 && has(states, state::visible);
  return placeless || shows(states, element.extents) ? states | kShowing : states & ~kShowing;
}

Point Toolkit::originIn(const WindowFacts& window, const Rect& /*reportedFrame*/) const {
  return window.knowsItsPlace ? Point{} : Point{window.surface.x, window.surface.y};
}

Placement Toolkit::placementIn(const WindowFacts& window, const Rect& reportedFrame) const {
  for (const Rect& rect : rectsOf(window)) {
    if (const double scale = scaleBetween(reportedFrame, rect, window.unit); scale > 0) {
      return scale == 1 ? Placement() : Placement{{reportedFrame.x, reportedFrame.y}, {rect.x, rect.y}, scale};
    }
  }
  return {};
}

std::optional<Rect> Toolkit::placeTold(const Rect& reported, Point offset) const {
  return screenExtents(reported, offset);
}

bool Toolkit::readWindow(SnapshotDraft& snapshot, const ElementRef& frame, CallRunner& runner,
                         const WalkPlan& plan) const {
  TreeWalk walk(runner, plan, snapshot.elements, snapshot.texts);
  walk.walk(frame, snapshot.application);
  return walk.complete();
}

int64_t Toolkit::mostChildren(const ElementFacts& container) const {
  if (container.is(state::managesDescendants)) {
    return kMostManagedChildren;
  }
  return (container.interfaces & interface_bit::table) != 0 ? kMostCells : kMostChildren;
}

}  // namespace jumplark::atspi
