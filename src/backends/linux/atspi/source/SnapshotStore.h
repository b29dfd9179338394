#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "backends/linux/atspi/reading/Snapshot.h"

namespace jumplark::atspi {

/// The snapshots of this moment, one an application. Calls may come from any thread.
class SnapshotStore {
 public:
  /// The time of the last clear(). A snapshot that was begun before it is not kept.
  uint64_t era() const;
  bool keep(std::unique_ptr<Snapshot> snapshot, uint64_t era);
  void clear();

  FactsPointer find(const ElementRef& element) const;
  /// Replaces what is known of an element, if a snapshot holds it.
  void update(FactsPointer facts);
  std::optional<TextFacts> text(const ElementRef& element) const;
  std::vector<FactsPointer> inDocumentOrder(const ElementRef& application) const;

  /// What `read` says of the snapshot of an application; none without one.
  template <typename T>
  std::optional<T> ask(const ElementRef& application, const std::function<T(const Snapshot&)>& read) const {
    const std::lock_guard lock(mutex_);
    const Kept* kept = keptOf(application);
    return kept ? std::optional<T>(read(*kept->snapshot)) : std::nullopt;
  }
  ElementRef applicationOf(int32_t pid) const;

 private:
  struct Kept {
    std::unique_ptr<const Snapshot> snapshot;
    std::unordered_map<ElementRef, FactsPointer, ElementRefHash> facts;
    std::vector<ElementRef> order;
  };
  const Kept* keptOf(const ElementRef& application) const;

  mutable std::mutex mutex_;
  uint64_t era_ = 0;
  std::map<std::string, Kept> kept_;
};

}  // namespace jumplark::atspi
