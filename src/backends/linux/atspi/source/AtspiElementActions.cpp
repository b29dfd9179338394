#include <algorithm>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/source/AtspiElementSource.h"

namespace jumplark::atspi {
namespace {

constexpr size_t kMostAncestors = 100;
/// What hit tests ask of what is around an element.
constexpr facts::Set kAround = facts::identity | facts::extents | facts::children;

/// Whether an element is where and what it was.
bool isUnmoved(const FactsPointer& before, const FactsPointer& now) {
  if (!before || !now || before->role != now->role) {
    return false;
  }
  return now->role == role::application || (before->extents == now->extents && before->parent == now->parent &&
                                            before->is(state::showing) == now->is(state::showing));
}

}  // namespace

AccessibilityError AtspiElementSource::grabFocus(const ElementRef& element) {
  const AtspiHandle* handle = handleOf(element);
  if (!handle) {
    return AccessibilityError::invalidElement;
  }
  const auto answer = callOnce(bus_, calls::grabFocus(*handle), deadline());
  return answer.ok() && !answer.value ? AccessibilityError::failure : answer.error;
}

AccessibilityError AtspiElementSource::doAction(const ElementRef& element, int32_t index) {
  const AtspiHandle* handle = handleOf(element);
  if (!handle) {
    return AccessibilityError::invalidElement;
  }
  const auto answer = callOnce(bus_, calls::doAction(*handle, index), deadline());
  return answer.ok() && !answer.value ? AccessibilityError::failure : answer.error;
}

void AtspiElementSource::prepareAction(const ElementRef& element) {
  // Of what has more children, hit tests ask otherwise.
  constexpr int64_t kMostChildren = 2000;
  std::vector<FactsPointer> before;
  std::vector<ElementRef> chain;
  std::vector<ElementRef> containers;
  for (ElementRef at = element; handleOf(at) && chain.size() < kMostAncestors;) {
    chain.push_back(at);
    before.push_back(store_.find(at));
    const FactsPointer& known = before.back();
    if (known && !known->childrenAreVisibleOnly && known->childCount <= kMostChildren) {
      containers.push_back(at);
    }
    at = known ? known->parent : ElementRef();
  }
  if (chain.empty()) {
    return;
  }
  const Token live = beginLiveReads();
  recent_.start();
  matchNow(makeRef(handleOf(element)->busName(), calls::kRootPath));
  const std::vector<FactsPointer> now = factsOfAll(chain, facts::identity | facts::extents | facts::texts);
  // Hit tests look at what stands beside each and what that holds; windows are searched for sheets.
  if (std::equal(before.begin(), before.end(), now.begin(), now.end(), isUnmoved)) {
    keepSurroundings(withChildren(containers));
  } else {
    factsOfAll(containers, kAround);
  }
}

std::vector<FactsPointer> AtspiElementSource::withChildren(const std::vector<ElementRef>& containers) {
  std::vector<int64_t> counts(containers.size(), -1);
  TypedBatch batch;
  for (size_t i = 0; i < containers.size(); ++i) {
    batch.add<int32_t>(calls::childCount(*handleOf(containers[i])),
                       [&counts, i](int32_t& count) { counts[i] = count; });
  }
  batch.run(calls_, deadline());
  for (size_t i = 0; i < containers.size(); ++i) {
    const FactsPointer now = recent_.find(containers[i]);
    const FactsPointer known = store_.find(containers[i]);
    if (now && known && known->has(facts::children) && counts[i] == known->childCount) {
      auto both = std::make_shared<ElementFacts>(*now);
      both->childCount = known->childCount;
      both->children = known->children;
      both->known |= facts::children;
      recent_.add(std::move(both));
    }
  }
  return factsOfAll(containers, kAround);
}

void AtspiElementSource::keepSurroundings(const std::vector<FactsPointer>& containers) {
  constexpr int kLevels = 3;
  constexpr size_t kMostRead = 400;
  std::vector<FactsPointer> level = containers;
  for (int i = 0; i < kLevels; ++i) {
    std::vector<FactsPointer> next;
    std::vector<ElementRef> unread;
    for (const FactsPointer& container : level) {
      for (const ElementRef& child : container ? container->children : std::vector<ElementRef>()) {
        if (recent_.find(child)) {
          continue;
        }
        const FactsPointer known = store_.find(child);
        if (known && known->has(kAround)) {
          recent_.add(known);
          next.push_back(known);
        } else if (unread.size() < kMostRead) {
          unread.push_back(child);
        }
      }
    }
    const std::vector<FactsPointer> read = readSurroundings(unread);
    next.insert(next.end(), read.begin(), read.end());
    level = std::move(next);
  }
}

std::vector<FactsPointer> AtspiElementSource::readSurroundings(const std::vector<ElementRef>& elements) {
  std::vector<ElementRef> showing;
  for (const FactsPointer& read : factsOfAll(elements, facts::identity | facts::extents)) {
    if (read && read->is(state::showing)) {
      showing.push_back(read->ref);
    } else if (read) {
      // Nobody clicks into a closed popover.
      auto closed = std::make_shared<ElementFacts>(*read);
      closed->known |= facts::children;
      closed->childCount = 0;
      recent_.add(std::move(closed));
    }
  }
  return factsOfAll(showing, kAround);
}

}  // namespace jumplark::atspi
