#include "backends/linux/atspi/toolkits/EmptyPages.h"

#include <algorithm>
#include <thread>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/reading/Experience.h"

namespace jumplark::atspi {
namespace {

constexpr auto kPause = std::chrono::milliseconds(15);
constexpr size_t kMostBlankPages = 1000;

}  // namespace

bool isKnownToBeBlank(const ElementRef& page, const WalkPlan& plan) {
  return plan.experiences->of(handleOf(page)->busName(),
                              [&](const Experience& known) { return known.blankPages.contains(page); });
}

bool fills(CallRunner& runner, const ElementFacts& page, const WalkPlan& plan, TimePoint deadline) {
  while (Clock::now() < deadline && !(plan.cancelled && plan.cancelled())) {
    TypedBatch batch;
    // The page that fills may be another object, which takes the place of this one.
    bool changed = false;
    batch.add<int32_t>(
        calls::childCount(*handleOf(page.ref)), [&](int32_t& count) { changed = changed || count > 0; },
        [&](AccessibilityError) { changed = true; });
    batch.add<std::vector<ElementRef>>(calls::children(*handleOf(page.parent)), [&](std::vector<ElementRef>& children) {
      changed = changed || std::find(children.begin(), children.end(), page.ref) == children.end();
    });
    batch.run(runner, deadline);
    if (changed) {
      return true;
    }
    std::this_thread::sleep_for(kPause);
  }
  plan.experiences->of(handleOf(page.ref)->busName(), [&](Experience& known) {
    if (known.blankPages.size() >= kMostBlankPages) {
      known.blankPages.clear();
    }
    known.blankPages.insert(page.ref);
  });
  return false;
}

}  // namespace jumplark::atspi
