#include "backends/linux/atspi/source/ActionReader.h"

#include <algorithm>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Parts.h"
#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {
namespace {

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

/// How many children elements say they have now; asked while something else is. -1 where nothing is told.
class ChildCounts {
 public:
  explicit ChildCounts(const std::vector<ElementRef>& containers)
      : told(containers.size(), -1), containers_(containers) {
    for (size_t i = 0; i < containers.size(); ++i) {
      batch_.add<int32_t>(calls::childCount(*handleOf(containers[i])), [this, i](int32_t& count) { told[i] = count; });
    }
  }
  void ask(CallRunner& runner, TimePoint deadline) { batch_.start(runner, deadline); }
  void take() { batch_.finish(); }
  /// What one is taken to have that does not answer.
  void expect(const ElementRef& container, int64_t count) {
    const auto found = std::ranges::find(containers_, container);
    if (found != containers_.end()) {
      told[static_cast<size_t>(found - containers_.begin())] = count;
    }
  }

  std::vector<int64_t> told;

 private:
  const std::vector<ElementRef>& containers_;
  TypedBatch batch_;
};

}  // namespace

void ActionReader::read(const ElementRef& element, TimePoint deadline) {
  // Of what has more children, hit tests ask otherwise.
  constexpr int64_t kMostChildren = 2000;
  std::vector<FactsPointer> known;
  std::vector<ElementRef> chain;
  std::vector<ElementRef> containers;
  for (ElementRef at = element; handleOf(at) && chain.size() < size_t{ElementTree::kMostAncestors};) {
    chain.push_back(at);
    known.push_back(before(at));
    const FactsPointer& last = known.back();
    if (last && !last->childrenAreVisibleOnly && last->childCount <= kMostChildren && !ownerOf(*handleOf(at))) {
      containers.push_back(at);
    }
    at = last ? last->parent : ElementRef();
  }
  ChildCounts counts(containers);
  counts.ask(runner_, deadline);
  auto answers = live_.answersOfAll(chain, facts::identity | facts::extents | facts::texts);
  counts.take();
  std::vector<FactsPointer> anew;
  for (size_t i = 0; i < chain.size(); ++i) {
    // What does not answer in time counts as it was when the user saw it: without a place it would be clicked nowhere.
    if (answers[i].error == AccessibilityError::cannotComplete && known[i]) {
      keep(known[i]);
      counts.expect(chain[i], known[i]->childCount);
      answers[i] = known[i];
    }
    anew.push_back(answers[i].ok() ? std::move(answers[i].value) : nullptr);
  }
  // Windows are searched for sheets.
  if (std::equal(known.begin(), known.end(), anew.begin(), anew.end(), isUnmoved)) {
    keepSurroundings(withChildren(containers, counts.told));
  } else {
    live_.factsOfAll(containers, kAround);
  }
}

std::vector<FactsPointer> ActionReader::withChildren(const std::vector<ElementRef>& containers,
                                                     const std::vector<int64_t>& counts) {
  for (size_t i = 0; i < containers.size(); ++i) {
    const FactsPointer anew = now(containers[i]);
    const FactsPointer known = before(containers[i]);
    if (anew && known && known->has(facts::children) && counts[i] == known->childCount) {
      auto both = std::make_shared<ElementFacts>(*anew);
      both->childCount = known->childCount;
      both->children = known->children;
      both->known |= facts::children;
      keep(both);
    }
  }
  return live_.factsOfAll(containers, kAround);
}

void ActionReader::keepSurroundings(const std::vector<FactsPointer>& containers) {
  constexpr int kLevels = 3;
  constexpr size_t kMostRead = 400;
  std::vector<FactsPointer> level = containers;
  for (int i = 0; i < kLevels; ++i) {
    std::vector<FactsPointer> next;
    std::vector<ElementRef> unread;
    for (const FactsPointer& container : level) {
      for (const ElementRef& child : container ? container->children : std::vector<ElementRef>()) {
        if (now(child)) {
          continue;
        }
        const FactsPointer known = before(child);
        if (known && known->has(kAround)) {
          keep(known);
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

std::vector<FactsPointer> ActionReader::readSurroundings(const std::vector<ElementRef>& elements) {
  std::vector<ElementRef> showing;
  for (const FactsPointer& read : live_.factsOfAll(elements, facts::identity | facts::extents)) {
    if (read && read->is(state::showing)) {
      showing.push_back(read->ref);
    } else if (read) {
      // Nobody clicks into a closed popover.
      auto closed = std::make_shared<ElementFacts>(*read);
      closed->known |= facts::children;
      closed->childCount = 0;
      keep(closed);
    }
  }
  return live_.factsOfAll(showing, kAround);
}

}  // namespace jumplark::atspi
