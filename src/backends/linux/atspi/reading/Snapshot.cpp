#include "backends/linux/atspi/reading/Snapshot.h"

#include <utility>

#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {

Snapshot::Snapshot(SnapshotDraft draft, Clock::duration timeForMore)
    : application(std::move(draft.application)),
      pid(draft.pid),
      toolkitFacts(std::move(draft.toolkitFacts)),
      toolkit(draft.toolkit),
      frames(std::move(draft.frames)),
      focusedWindow(std::move(draft.focusedWindow)),
      popovers(std::move(draft.popovers)),
      texts(std::move(draft.texts)),
      transform(std::move(draft.transform)),
      visibleOnly(draft.visibleOnly),
      complete(draft.complete),
      fromCache(draft.fromCache),
      cache(std::move(draft.cache)),
      took(draft.took),
      tree(draft.elements, application),
      menuBar(std::move(draft.menuBar)),
      budget(timeForMore) {
  findLandmarks();
}

void Snapshot::findLandmarks() {
  for (size_t i = 0; i < tree.inDocumentOrder(); ++i) {
    const ElementFacts& e = *tree.nodes()[i].facts;
    if (!e.has(facts::identity)) {
      continue;
    }
    if (e.role == role::menuBar && e.is(state::showing) && !menuBar) {
      menuBar = e.ref;
    }
    // The deepest one counts: some containers say that they are focused as well, and in Qt every page tab in front
    // does.
    if (e.is(state::focused) && (e.role != role::pageTab || !focusedElement)) {
      focusedElement = e.ref;
    }
  }
}

FactsPointer Snapshot::find(const ElementRef& element) const {
  if (hasMore_.load(std::memory_order_acquire)) {
    const std::lock_guard lock(mutex_);
    if (const auto more = more_.find(element); more != more_.end()) {
      return more->second;
    }
  }
  const int index = tree.find(element);
  return index == ElementTree::kNone ? nullptr : tree[index].facts;
}

std::vector<FactsPointer> Snapshot::elements() const {
  std::vector<FactsPointer> all;
  all.reserve(tree.inDocumentOrder());
  for (size_t i = 0; i < tree.inDocumentOrder(); ++i) {
    all.push_back(find(tree.nodes()[i].facts->ref));
  }
  return all;
}

void Snapshot::add(FactsPointer facts) const {
  const std::lock_guard lock(mutex_);
  more_.insert_or_assign(facts->ref, std::move(facts));
  hasMore_.store(true, std::memory_order_release);
}

ElementDraft Snapshot::added() const {
  ElementDraft all;
  const std::lock_guard lock(mutex_);
  for (const auto& [ref, facts] : more_) {
    all.add(*facts);
  }
  return all;
}

bool Snapshot::isOf(const ElementRef& element) const {
  const AtspiHandle* handle = handleOf(element);
  return handle && handle->busName() == handleOf(application)->busName();
}

}  // namespace jumplark::atspi
