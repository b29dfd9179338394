#include "backends/linux/atspi/reading/VisibleChildren.h"

#include <algorithm>
#include <limits>
#include <unordered_set>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"

namespace jumplark::atspi {
namespace {

constexpr int kProbes = 24;
constexpr int kDeepestHit = 6;  ///< how far below the container a hit may lie
constexpr int32_t kMostRows = 300;
constexpr int32_t kMargin = 2;  ///< rows that may lie between the last point that hit something and an edge
constexpr int32_t kMostColumns = 40;
constexpr int64_t kMostChildren = 3000;

struct Span {
  int32_t first = std::numeric_limits<int32_t>::max();
  int32_t last = -1;
  void include(int32_t index) {
    if (index >= 0) {
      first = std::min(first, index);
      last = std::max(last, index);
    }
  }
  bool empty() const { return last < first; }
};

using RefSet = std::unordered_set<ElementRef, ElementRefHash>;

void probeColumn(CallRunner& runner, const AtspiHandle& container, const Rect& visible, double x, TimePoint deadline,
                 uint32_t coordinates, RefSet& hits) {
  TypedBatch batch;
  for (int i = 0; i < kProbes; ++i) {
    // Evenly spread, with the outermost ones just inside the edges.
    const double inset = std::min(3.0, visible.height / 2);
    const double y = visible.minY() + inset + (visible.height - 2 * inset) * i / (kProbes - 1);
    batch.add<ElementRef>(
        calls::accessibleAtPoint(container, static_cast<int32_t>(x), static_cast<int32_t>(y), coordinates),
        [&](ElementRef& hit) {
          if (hit) {
            hits.insert(hit);
          }
        });
  }
  batch.run(runner, deadline);
}

RefSet probe(CallRunner& runner, const AtspiHandle& container, const Rect& visible, TimePoint deadline,
             uint32_t coordinates) {
  // Short entries lie at the left edge; where that hits nothing, a row header stands there, and what is on the right of
  // the last column hits nothing either.
  RefSet hits;
  for (const double inset : {12.0, 64.0, visible.width / 4, visible.width / 2}) {
    probeColumn(runner, container, visible, visible.minX() + std::min(visible.width / 2, inset), deadline, coordinates,
                hits);
    if (!hits.empty()) {
      break;
    }
  }
  return hits;
}

/// Entries may stand beside one another, so that the first and the last one are not at the same edge.
RefSet probeList(CallRunner& runner, const AtspiHandle& container, const Rect& visible, TimePoint deadline,
                 uint32_t coordinates) {
  RefSet hits = probe(runner, container, visible, deadline, coordinates);
  constexpr double kInset = 12;
  for (const double x : {visible.midX(), std::max(visible.midX(), visible.maxX() - kInset)}) {
    probeColumn(runner, container, visible, x, deadline, coordinates, hits);
  }
  return hits;
}

/// Climbs from the hits to the container's own children.
std::vector<ElementRef> directChildren(CallRunner& runner, const ElementRef& container, RefSet hits,
                                       TimePoint deadline) {
  RefSet direct;
  for (int depth = 0; depth < kDeepestHit && !hits.empty(); ++depth) {
    RefSet above;
    TypedBatch batch;
    for (const ElementRef& hit : hits) {
      const AtspiHandle* handle = handleOf(hit);
      if (!handle || hit == container) {
        continue;
      }
      batch.add<ElementRef>(calls::parent(*handle), [&, hit](ElementRef& parent) {
        if (parent == container) {
          direct.insert(hit);
        } else if (parent) {
          above.insert(parent);
        }
      });
    }
    batch.run(runner, deadline);
    hits = std::move(above);
  }
  return {direct.begin(), direct.end()};
}

std::vector<int32_t> indexesOf(CallRunner& runner, const std::vector<ElementRef>& elements, TimePoint deadline) {
  std::vector<int32_t> indexes;
  TypedBatch batch;
  for (const ElementRef& element : elements) {
    batch.add<int32_t>(calls::indexInParent(*handleOf(element)), [&](int32_t& index) { indexes.push_back(index); });
  }
  batch.run(runner, deadline);
  return indexes;
}

std::vector<ElementRef> readInOrder(CallRunner& runner, std::vector<TypedCall<ElementRef>> references,
                                    TimePoint deadline) {
  std::vector<ElementRef> found;
  TypedBatch batch;
  for (auto& call : references) {
    batch.add<ElementRef>(std::move(call), [&](ElementRef& ref) {
      if (ref) {
        found.push_back(ref);
      }
    });
  }
  batch.run(runner, deadline);
  return found;
}

std::vector<ElementRef> visibleCells(CallRunner& runner, const AtspiHandle& table, const std::vector<int32_t>& indexes,
                                     bool hasRowHeaders, TimePoint deadline) {
  Span rows;
  int32_t columns = 0;
  TypedBatch batch;
  batch.add<int32_t>(calls::columnCount(table), [&](int32_t& count) { columns = std::min(count, kMostColumns); });
  for (const int32_t index : indexes) {
    batch.add<int32_t>(calls::rowAtIndex(table, index), [&](int32_t& row) { rows.include(row); });
  }
  batch.run(runner, deadline);
  std::vector<TypedCall<ElementRef>> cells;
  cells.reserve(static_cast<size_t>(std::max(columns, 0)));
  for (int32_t column = 0; column < columns; ++column) {
    cells.push_back(calls::columnHeader(table, column));
  }
  if (rows.empty()) {
    return readInOrder(runner, std::move(cells), deadline);
  }
  const int64_t first = std::max(rows.first - kMargin, 0);
  const int64_t last = std::min<int64_t>(int64_t{rows.last} + kMargin, first + kMostRows - 1);
  for (int64_t row = first; row <= last; ++row) {
    if (hasRowHeaders) {
      cells.push_back(calls::rowHeader(table, static_cast<int32_t>(row)));
    }
    for (int32_t column = 0; column < columns; ++column) {
      cells.push_back(calls::accessibleAt(table, static_cast<int32_t>(row), column));
    }
  }
  return readInOrder(runner, std::move(cells), deadline);
}

}  // namespace

std::vector<ElementRef> visibleChildren(CallRunner& runner, const ElementFacts& container, const Toolkit& toolkit,
                                        const Rect& visible, TimePoint deadline) {
  const AtspiHandle* handle = handleOf(container.ref);
  if (!handle || visible.isNull() || visible.width <= 0 || visible.height <= 0) {
    return {};
  }
  const bool isTable = (container.interfaces & interface_bit::table) != 0;
  if (!toolkit.findsChildrenAtPoints() && !isTable) {
    return childrenOneByOne(runner, *handle, 0, container.childCount, deadline);
  }
  const auto search = isTable ? probe : probeList;
  const auto direct = directChildren(runner, container.ref,
                                     search(runner, *handle, visible, deadline, toolkit.coordinates()), deadline);
  const auto indexes = indexesOf(runner, direct, deadline);
  if (isTable) {
    auto cells = visibleCells(runner, *handle, indexes, toolkit.hasRowHeaders(), deadline);
    if (!cells.empty()) {
      return cells;
    }
  }
  Span span;
  for (const int32_t index : indexes) {
    span.include(index);
  }
  return span.empty() ? std::vector<ElementRef>{}
                      : childrenOneByOne(runner, *handle, span.first, int64_t{span.last} - span.first + 1, deadline);
}

std::vector<ElementRef> childrenOneByOne(CallRunner& runner, const AtspiHandle& container, int64_t index, int64_t count,
                                         TimePoint deadline) {
  std::vector<TypedCall<ElementRef>> children;
  const int64_t end = std::min<int64_t>(index + std::min(count, kMostChildren), std::numeric_limits<int32_t>::max());
  for (int64_t i = std::max<int64_t>(index, 0); i < end; ++i) {
    children.push_back(calls::childAt(container, static_cast<int32_t>(i)));
  }
  return readInOrder(runner, std::move(children), deadline);
}

}  // namespace jumplark::atspi
