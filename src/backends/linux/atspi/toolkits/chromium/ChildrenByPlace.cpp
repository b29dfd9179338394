#include "backends/linux/atspi/toolkits/chromium/ChildrenByPlace.h"

#include <algorithm>
#include <map>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/reading/Toolkit.h"
#include "backends/linux/atspi/reading/VisibleChildren.h"

namespace jumplark::atspi {
namespace {

constexpr int64_t kProbes = 48;
constexpr int64_t kFineEnough = 8;
constexpr int kMostRounds = 6;
constexpr int64_t kAtTheEnds = 20;
constexpr int64_t kMostRead = 2000;

enum class Side { above, within, below };

/// Where the children that were looked at stand, by index; those without a place are left out.
using Sides = std::map<int64_t, Side>;

void look(CallRunner& runner, const AtspiHandle& container, const std::vector<int64_t>& indexes, const Rect& visible,
          TimePoint deadline, Sides& sides) {
  TypedBatch batch;
  std::map<int64_t, ElementRef> children;
  for (const int64_t index : indexes) {
    batch.add<ElementRef>(calls::childAt(container, static_cast<int32_t>(index)),
                          [&children, index](ElementRef& child) { children[index] = child; });
  }
  batch.run(runner, deadline);
  for (const auto& [index, child] : children) {
    if (handleOf(child)) {
      batch.add<Rect>(calls::extents(*handleOf(child)), [&sides, &visible, index = index](Rect& reported) {
        if (const auto rect = screenExtents(reported, {})) {
          sides[index] = rect->maxY() <= visible.minY()   ? Side::above
                         : rect->minY() >= visible.maxY() ? Side::below
                                                          : Side::within;
        }
      });
    }
  }
  batch.run(runner, deadline);
}

std::vector<int64_t> spread(int64_t from, int64_t to, int64_t count) {
  std::vector<int64_t> indexes;
  const int64_t step = std::max<int64_t>((to - from) / count, 1);
  for (int64_t i = from; i < to; i += step) {
    indexes.push_back(i);
  }
  return indexes;
}

/// Between what is known to lie above and below: what shows begins after `before` and ends before `after`.
struct Bounds {
  int64_t before;
  int64_t firstWithin;  ///< `after` when none was seen yet
  int64_t lastWithin;   ///< `before` when none was seen yet
  int64_t after;
};

Bounds boundsOf(const Sides& sides, int64_t count) {
  Bounds bounds{-1, count, -1, count};
  for (const auto& [index, side] : sides) {
    if (side == Side::within) {
      bounds.firstWithin = std::min(bounds.firstWithin, index);
      bounds.lastWithin = index;
    }
  }
  const bool seen = bounds.lastWithin >= 0;
  for (const auto& [index, side] : sides) {
    if (side == Side::above && (!seen || index < bounds.firstWithin)) {
      bounds.before = index;
    }
    if (side == Side::below && (!seen || index > bounds.lastWithin)) {
      bounds.after = std::min(bounds.after, index);
    }
  }
  if (!seen) {
    bounds.after = std::max(bounds.after, bounds.before);
    bounds.firstWithin = bounds.after;
    bounds.lastWithin = bounds.before;
  }
  return bounds;
}

}  // namespace

std::vector<ElementRef> childrenByPlace(CallRunner& runner, const ElementFacts& container, const Rect& visible,
                                        TimePoint deadline) {
  const AtspiHandle& handle = *handleOf(container.ref);
  const int64_t count = container.childCount;
  Sides sides;
  look(runner, handle, spread(0, count, kProbes), visible, deadline, sides);
  Bounds bounds = boundsOf(sides, count);
  for (int round = 0; round < kMostRounds && Clock::now() < deadline; ++round) {
    std::vector<int64_t> further;
    if (bounds.firstWithin - bounds.before > kFineEnough) {
      further = spread(bounds.before + 1, bounds.firstWithin, kProbes / 2);
    }
    if (bounds.after - bounds.lastWithin > kFineEnough) {
      const auto more = spread(bounds.lastWithin + 1, bounds.after, kProbes / 2);
      further.insert(further.end(), more.begin(), more.end());
    }
    std::erase_if(further, [&](int64_t index) { return sides.contains(index); });
    if (further.empty()) {
      break;
    }
    look(runner, handle, further, visible, deadline, sides);
    bounds = boundsOf(sides, count);
  }
  const int64_t first = std::max(bounds.before, kAtTheEnds);
  const int64_t last = std::min(std::min(bounds.after, first + kMostRead), count - kAtTheEnds);
  std::vector<ElementRef> found = childrenOneByOne(runner, handle, 0, kAtTheEnds, deadline);
  for (const auto& [index, number] :
       {std::pair(first, last - first), std::pair(std::max(last, count - kAtTheEnds), kAtTheEnds)}) {
    if (number > 0) {
      const auto more = childrenOneByOne(runner, handle, index, number, deadline);
      found.insert(found.end(), more.begin(), more.end());
    }
  }
  return found;
}

}  // namespace jumplark::atspi
