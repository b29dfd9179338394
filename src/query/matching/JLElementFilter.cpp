#include "query/matching/JLElementFilter.h"

#include <spdlog/spdlog.h>

#include <algorithm>

#include "platform/Geometry.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "tree/JLElementNode.h"

namespace jumplark {

namespace {

constexpr double kSmallestSide = 5.0;

bool isLargeEnough(const JLElementMatch& match) {
  const Rect bounds = match.node() ? match.node()->bounds() : Rect{};
  return std::min(bounds.width, bounds.height) >= kSmallestSide;
}

}  // namespace

Stream<JLElementMatch> JLElementFilter::pruneElements(const Stream<JLElementMatch>& matches) {
  const auto pruned = matches.filter(isLargeEnough);
  return Stream<JLElementMatch>::create([pruned](const auto& next, const auto& completed) {
    const Duration start = Platform::current().queues->monotonicNow();
    spdlog::trace("pruning from {} ms on", milliseconds(start));
    pruned.subscribe(next, completed);
  });
}

}  // namespace jumplark
