#include "backends/linux/atspi/source/SnapshotStore.h"

namespace jumplark::atspi {

uint64_t SnapshotStore::era() const {
  const std::lock_guard lock(mutex_);
  return era_;
}

bool SnapshotStore::keep(std::unique_ptr<Snapshot> snapshot, uint64_t era) {
  Kept kept;
  kept.order = snapshot->inDocumentOrder();
  kept.facts.reserve(snapshot->elements.size());
  for (const auto& [ref, facts] : snapshot->elements) {
    kept.facts.emplace(ref, facts);
  }
  kept.snapshot = std::move(snapshot);
  const std::lock_guard lock(mutex_);
  if (era != era_) {
    return false;
  }
  std::swap(kept_[kept.snapshot->application.text()], kept);
  return true;
}

void SnapshotStore::clear() {
  std::map<std::string, Kept> dropped;
  const std::lock_guard lock(mutex_);
  ++era_;
  dropped.swap(kept_);
}

FactsPointer SnapshotStore::find(const ElementRef& element) const {
  const std::lock_guard lock(mutex_);
  for (const auto& [name, kept] : kept_) {
    if (const auto found = kept.facts.find(element); found != kept.facts.end()) {
      return found->second;
    }
  }
  return nullptr;
}

void SnapshotStore::update(FactsPointer facts) {
  const std::lock_guard lock(mutex_);
  for (auto& [name, kept] : kept_) {
    if (const auto found = kept.facts.find(facts->ref); found != kept.facts.end()) {
      found->second = std::move(facts);
      return;
    }
  }
}

std::optional<TextFacts> SnapshotStore::text(const ElementRef& element) const {
  const std::lock_guard lock(mutex_);
  for (const auto& [name, kept] : kept_) {
    if (const auto found = kept.snapshot->texts.find(element); found != kept.snapshot->texts.end()) {
      return found->second;
    }
  }
  return std::nullopt;
}

std::vector<FactsPointer> SnapshotStore::inDocumentOrder(const ElementRef& application) const {
  const std::lock_guard lock(mutex_);
  std::vector<FactsPointer> facts;
  if (const Kept* kept = keptOf(application)) {
    facts.reserve(kept->order.size());
    for (const ElementRef& ref : kept->order) {
      facts.push_back(kept->facts.at(ref));
    }
  }
  return facts;
}

ElementRef SnapshotStore::applicationOf(int32_t pid) const {
  const std::lock_guard lock(mutex_);
  for (const auto& [name, kept] : kept_) {
    if (kept.snapshot->pid == pid) {
      return kept.snapshot->application;
    }
  }
  return {};
}

const SnapshotStore::Kept* SnapshotStore::keptOf(const ElementRef& application) const {
  const auto found = kept_.find(application.text());
  return found == kept_.end() ? nullptr : &found->second;
}

}  // namespace jumplark::atspi
