#include "backends/linux/atspi/source/View.h"

#include <algorithm>
#include <map>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {

namespace {

const SnapshotPointer& snapshotIn(const View::Snapshots& snapshots, const ElementRef& element) {
  static const SnapshotPointer kNone;
  const auto found =
      std::find_if(snapshots.begin(), snapshots.end(), [&](const auto& snapshot) { return snapshot->isOf(element); });
  return found == snapshots.end() ? kNone : *found;
}

}  // namespace

SnapshotPointer View::lastOf(const ElementRef& element) const {
  return snapshotIn(snapshots_, element);
}

const SnapshotPointer& View::knownOf(const ElementRef& element) const {
  return snapshotIn(isLive_ ? action_ : snapshots_, element);
}

ReadScope View::scopeOf(const ElementRef& element) const {
  return {knownOf(element), lastOf(element)};
}

std::pair<const Snapshot*, int> View::placeOf(const ElementRef& element) const {
  const Snapshot* known = knownOf(element).get();
  const int index = known ? known->tree.find(element) : ElementTree::kNone;
  return {index == ElementTree::kNone ? nullptr : known, index};
}

SnapshotPointer View::snapshotOf(const ElementRef& element) const {
  return !isLive_ && placeOf(element).first ? lastOf(element) : nullptr;
}

std::optional<Clip> View::clipOf(const ElementRef& element) const {
  const auto [snapshot, index] = placeOf(element);
  const bool isPlaced = snapshot && static_cast<size_t>(index) < snapshot->tree.inDocumentOrder();
  return isPlaced ? std::optional(snapshot->tree[index].clip) : std::nullopt;
}

ElementSource::Answer View::facts(const ElementRef& element, facts::Set wanted) const {
  if (handleOf(element) == nullptr) {
    return AccessibilityError::invalidElement;
  }
  if (const SnapshotPointer& known = knownOf(element)) {
    if (FactsPointer held = known->find(element); held && held->has(wanted)) {
      return held;
    }
  }
  return source_.read({element}, wanted, scopeOf(element)).front();
}

std::vector<FactsPointer> View::factsOfAll(const std::vector<ElementRef>& elements, facts::Set wanted) const {
  std::vector<FactsPointer> found;
  for (auto& answer : answersOfAll(elements, wanted)) {
    found.push_back(answer.ok() ? std::move(answer.value) : nullptr);
  }
  return found;
}

std::vector<ElementSource::Answer> View::answersOfAll(const std::vector<ElementRef>& elements,
                                                      facts::Set wanted) const {
  std::vector<ElementSource::Answer> found(elements.size(), AccessibilityError::invalidElement);
  std::map<std::string, std::vector<size_t>> unread;  // by application
  for (size_t i = 0; i < elements.size(); ++i) {
    const AtspiHandle* handle = handleOf(elements[i]);
    const SnapshotPointer& known = knownOf(elements[i]);
    FactsPointer held = known && handle ? known->find(elements[i]) : nullptr;
    if (held && held->has(wanted)) {
      found[i] = std::move(held);
    } else if (handle) {
      unread[handle->busName()].push_back(i);
    }
  }
  for (const auto& [busName, indexes] : unread) {
    std::vector<ElementRef> asked;
    asked.reserve(indexes.size());
    for (const size_t i : indexes) {
      asked.push_back(elements[i]);
    }
    auto answers = source_.read(asked, wanted, scopeOf(asked.front()));
    for (size_t i = 0; i < indexes.size(); ++i) {
      found[indexes[i]] = std::move(answers[i]);
    }
  }
  return found;
}

FactsPointer View::get(const ElementRef& element, facts::Set wanted) const {
  auto answer = facts(element, wanted);
  return answer.ok() ? answer.value : nullptr;
}

FactsPointer View::parentOf(const ElementFacts& element, facts::Set wanted) const {
  return get(element.parent, wanted);
}

FactsPointer View::with(const FactsPointer& element, facts::Set wanted) const {
  if (element->has(wanted)) {
    return element;
  }
  auto more = get(element->ref, element->known | wanted);
  return more ? more : element;
}

std::vector<FactsPointer> View::childrenOf(const ElementFacts& element, facts::Set wanted, size_t limit) const {
  const SnapshotPointer snapshot = snapshotOf(element.ref);
  const bool onlyShowing = snapshot && snapshot->visibleOnly;
  FactsPointer reread;
  if (!element.has(facts::children)) {
    const bool matters = element.is(state::showing) || !onlyShowing;
    reread = matters ? get(element.ref, facts::children) : nullptr;
    if (!reread) {
      return {};
    }
  }
  const std::vector<ElementRef>& all = reread ? reread->children : element.children;
  const size_t most = limit == kAll && !snapshot ? kMostLiveChildren : limit;
  const auto end = all.begin() + static_cast<std::ptrdiff_t>(std::min(most, all.size()));
  if (!onlyShowing) {
    return factsOfAll({all.begin(), end}, wanted);
  }
  std::vector<FactsPointer> known;
  for (auto one = all.begin(); one != end; ++one) {
    const FactsPointer child = snapshot->tree.find(*one) == ElementTree::kNone ? nullptr : snapshot->find(*one);
    const bool lacks = child && child->is(state::showing) && !child->has(wanted);
    known.push_back(lacks ? get(*one, wanted) : child);
  }
  return known;
}

AccessibilityResult<std::vector<ElementRef>> View::childrenInRange(const ElementRef& element, int64_t index,
                                                                   int64_t count) const {
  if (handleOf(element) == nullptr) {
    return AccessibilityError::invalidElement;
  }
  if (index < 0 || count < 0) {
    return AccessibilityError::illegalArgument;
  }
  const FactsPointer known = snapshotOf(element) ? knownOf(element)->find(element) : nullptr;
  if (known && known->has(facts::children) && !known->childrenAreVisibleOnly) {
    const auto size = static_cast<int64_t>(known->children.size());
    const auto first = known->children.begin() + std::min(index, size);
    return std::vector<ElementRef>(first, first + std::min(count, size - std::min(index, size)));
  }
  return source_.childrenInRange(element, index, count, scopeOf(element));
}

ElementRef View::application(int32_t pid) const {
  const Snapshots& known = isLive_ ? action_ : snapshots_;
  const auto found = std::find_if(known.begin(), known.end(), [pid](const auto& one) { return one->pid == pid; });
  return found == known.end() ? source_.application(pid) : (*found)->application;
}

ElementRef View::focusedWindow(const ElementRef& application) const {
  const SnapshotPointer& known = knownOf(application);
  return known ? known->focusedWindow : source_.frames(application).focused;
}

std::vector<MatchedFrame> View::frames(const ElementRef& application) const {
  const SnapshotPointer& known = knownOf(application);
  return known ? known->frames : source_.frames(application).matched;
}

ElementRef View::menuBar(const ElementRef& window) const {
  const AtspiHandle* handle = handleOf(window);
  if (handle == nullptr) {
    return {};
  }
  if (const SnapshotPointer& known = knownOf(window);
      known && known->focusedWindow == window && (!isLive_ || known->menuBar)) {
    return known->menuBar;
  }
  const auto now = source_.take(calls::applicationOf(*handle), true, {});
  return now && now->focusedWindow == window ? now->menuBar : ElementRef();
}

ElementRef View::focusedElement(const ElementRef& application) const {
  if (const SnapshotPointer& known = knownOf(application); known && !isLive_) {
    return known->focusedElement;
  }
  const auto now = source_.take(application, true, {});
  return now ? now->focusedElement : ElementRef();
}

const TextFacts* View::textKnown(const ElementRef& element) const {
  const SnapshotPointer& known = knownOf(element);
  if (!known || isLive_) {
    return nullptr;
  }
  const auto text = known->texts.find(element);
  return text == known->texts.end() ? nullptr : &text->second;
}

AccessibilityResult<std::string> View::textInRange(const ElementRef& element, int64_t start, int64_t end) const {
  constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
  if (start < 0 || end < start || end > kMost) {
    return AccessibilityError::illegalArgument;
  }
  if (const TextFacts* text = textKnown(element); text && text->holds(start, std::min(end, text->count))) {
    return codePoints(text->fetched, text->fetchedStart, start, end);
  }
  const auto found = facts(element, facts::identity | facts::extents);
  return found.ok() ? source_.text(*found.value, start, end, scopeOf(element)) : found.error;
}

AccessibilityResult<std::pair<int64_t, int64_t>> View::visibleTextRange(const ElementRef& element) const {
  if (const TextFacts* text = textKnown(element)) {
    return std::pair(text->visibleStart, text->visibleEnd);
  }
  const auto found = facts(element, facts::identity | facts::extents);
  return found.ok() ? source_.visibleText(*found.value, scopeOf(element)) : found.error;
}

ElementRef View::topmostInDocument(const ElementRef& document, Point point) const {
  return isLive_ ? source_.topmostInDocument(document, point, scopeOf(document)) : ElementRef();
}

}  // namespace jumplark::atspi
