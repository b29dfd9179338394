#include "backends/linux/atspi/vocabulary/Neighbours.h"

#include <algorithm>
#include <utility>

namespace jumplark::atspi {

void Neighbours::snapshotPrepared(const ElementRef& application, bool visibleOnly) {
  const AtspiHandle* handle = handleOf(application);
  if (handle == nullptr) {
    return;
  }
  const std::lock_guard lock(mutex_);
  if (visibleOnly) {
    visibleOnly_.insert(handle->busName());
  } else {
    visibleOnly_.erase(handle->busName());
  }
}

void Neighbours::snapshotsEnded() {
  const std::lock_guard lock(mutex_);
  visibleOnly_.clear();
}

bool Neighbours::onlyVisibleIsKnown(const ElementRef& element) const {
  const AtspiHandle* handle = handleOf(element);
  if (handle == nullptr || !isInSnapshot(element)) {
    return false;
  }
  const std::lock_guard lock(mutex_);
  return visibleOnly_.contains(handle->busName());
}

FactsPointer Neighbours::get(const ElementRef& element, facts::Set wanted) const {
  if (handleOf(element) == nullptr) {
    return nullptr;
  }
  auto answer = source_.facts(element, wanted);
  return answer.ok() ? answer.value : nullptr;
}

FactsPointer Neighbours::parentOf(const ElementFacts& element, facts::Set wanted) const {
  return get(element.parent, wanted);
}

FactsPointer Neighbours::with(const FactsPointer& element, facts::Set wanted) const {
  if (element->has(wanted)) {
    return element;
  }
  auto more = get(element->ref, element->known | wanted);
  return more ? more : element;
}

std::vector<FactsPointer> Neighbours::childrenOf(const ElementFacts& element, facts::Set wanted, size_t limit) const {
  FactsPointer reread;
  const ElementFacts* holder = &element;
  if (!element.has(facts::children)) {
    if (!element.is(state::showing) && onlyVisibleIsKnown(element.ref)) {
      return {};
    }
    reread = get(element.ref, facts::children);
    if (!reread) {
      return {};
    }
    holder = reread.get();
  }
  const auto& all = holder->children;
  if (onlyVisibleIsKnown(element.ref)) {
    std::vector<FactsPointer> known;
    const size_t count = std::min(limit, all.size());
    known.reserve(count);
    for (size_t i = 0; i < count; ++i) {
      auto child = source_.snapshotFacts(all[i]);
      const bool lacks = child && child->is(state::showing) && !child->has(wanted);
      known.push_back(lacks ? get(all[i], wanted) : std::move(child));
    }
    return known;
  }
  const size_t most = isInSnapshot(element.ref) ? limit : std::min(limit, kMostLiveChildren);
  if (all.size() <= most) {
    return source_.factsOfAll(all, wanted);
  }
  return source_.factsOfAll({all.begin(), all.begin() + static_cast<std::ptrdiff_t>(most)}, wanted);
}

}  // namespace jumplark::atspi
