#include "backends/linux/atspi/toolkits/Gecko.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/Corrections.h"
#include "backends/linux/atspi/reading/Snapshot.h"
#include "backends/linux/atspi/toolkits/EmptyPages.h"

namespace jumplark::atspi {
namespace {

bool areBeside(const Rect& box, const Rect& list) {
  constexpr double kGap = 8;
  const auto isNear = [](double one, double other) { return std::abs(one - other) <= kGap; };
  return isNear(box.x, list.x) && (isNear(box.maxY(), list.y) || isNear(box.y, list.maxY()));
}

bool isDocument(const ElementFacts& element) {
  return element.role == role::documentWeb || element.role == role::documentFrame;
}

/// A frame that shows for a page which is not there yet, or has no place yet, of those that are in no page themselves.
/// Null when there is none.
FactsPointer emptyPage(const ElementDraft& elements) {
  const auto hasPlace = [&](const ElementRef& child) {
    const ElementFacts* page = elements.find(child);
    return page && page->extents;
  };
  for (const auto& [ref, element] : elements) {
    if (element->role == role::internalFrame && element->is(state::showing) &&
        std::ranges::none_of(element->children, hasPlace) && !elements.findAbove(*element, isDocument)) {
      return element;
    }
  }
  return nullptr;
}

}  // namespace

bool Gecko::readWindow(SnapshotDraft& snapshot, const ElementRef& frame, CallRunner& runner,
                       const WalkPlan& plan) const {
  const TimePoint wakeDeadline = std::min(plan.deadline, Clock::now() + kLongestFilling);
  const ElementDraft before = snapshot.elements;
  for (;;) {
    const bool isComplete = Toolkit::readWindow(snapshot, frame, runner, plan);
    const FactsPointer page = plan.visibleOnly ? emptyPage(snapshot.elements) : nullptr;
    if (!isComplete || !page || isKnownToBeBlank(page->ref, plan) || !fills(runner, *page, plan, wakeDeadline)) {
      return isComplete;
    }
    snapshot.elements = before;
    snapshot.texts.clear();
  }
}

// Version 140 ends when the box around the open list of a box in a page is asked while the list closes.
bool Gecko::mayAskChoice(const ElementFacts& box, const ElementDraft& elements) const {
  const ElementFacts* above = elements.find(box.parent);
  return !above || above->role != role::frame;
}

// The open list of a box in a page stands in a box of its own, which a window has only then.
bool Gecko::mayHaveOpened(CallRunner& runner, const ElementRef& application, TimePoint deadline) const {
  std::vector<ElementRef> children;
  TypedBatch batch;
  for (const ElementRef& frame : callOnce(runner, calls::children(*handleOf(application)), deadline).value) {
    if (handleOf(frame)) {
      batch.add<std::vector<ElementRef>>(calls::children(*handleOf(frame)), [&](std::vector<ElementRef>& told) {
        std::ranges::copy_if(told, std::back_inserter(children),
                             [](const ElementRef& child) { return handleOf(child) != nullptr; });
      });
    }
  }
  batch.run(runner, deadline);
  bool isOpen = false;
  for (const ElementRef& child : children) {
    batch.add<uint32_t>(calls::role(*handleOf(child)),
                        [&](uint32_t& told) { isOpen = isOpen || told == role::comboBox; });
  }
  batch.run(runner, deadline);
  return isOpen;
}

ElementRef Gecko::boxOf(CallRunner& runner, const ElementRef& frame, const ElementRef& list, TimePoint deadline) const {
  constexpr int32_t kMost = 200;
  const MatchRule rule{.states = uint64_t{1} << static_cast<unsigned>(state::showing), .roles = {role::comboBox}};
  std::vector<ElementRef> boxes = callOnce(runner, calls::matchingBelow(*handleOf(frame), rule, kMost), deadline).value;
  std::erase_if(boxes, [](const ElementRef& box) { return !handleOf(box); });
  Rect open;
  std::vector<Rect> places(boxes.size());
  TypedBatch batch;
  batch.add<Rect>(calls::extents(*handleOf(list)), [&](Rect& told) { open = told; });
  for (size_t i = 0; i < boxes.size(); ++i) {
    batch.add<Rect>(calls::extents(*handleOf(boxes[i])), [&one = places[i]](Rect& told) { one = told; });
  }
  batch.run(runner, deadline);
  const auto found = std::ranges::find_if(places, [&](const Rect& box) { return areBeside(box, open); });
  return found == places.end() ? ElementRef() : boxes[static_cast<size_t>(found - places.begin())];
}

}  // namespace jumplark::atspi
