#pragma once

#include <memory>
#include <mutex>
#include <unordered_map>

#include "platform/AttributeValue.h"

namespace jumplark {

class JLElement;

/// Gives the same model object for equal references while somebody holds that object. Values are held weakly: an entry
/// whose model was destroyed counts as missing. Any thread.
class ElementCache {
 public:
  struct Counters {
    uint64_t hits = 0;
    uint64_t misses = 0;
  };

  /// The cached model, or one made by `make` and stored.
  template <typename Make>
  std::shared_ptr<JLElement> cachedOrNew(const ElementRef& ref, Make make) {
    const std::lock_guard lock(mutex_);
    std::weak_ptr<JLElement>& entry = entries_[ref];
    if (auto cached = entry.lock()) {
      ++counters_.hits;
      return cached;
    }
    ++counters_.misses;
    std::shared_ptr<JLElement> made = make();
    entry = made;
    return made;
  }

  void flush() {
    // Swapped out, so that the references are destroyed outside the lock.
    decltype(entries_) dropped;
    const std::lock_guard lock(mutex_);
    dropped.swap(entries_);
    counters_ = {};
  }

  Counters counters() const {
    const std::lock_guard lock(mutex_);
    return counters_;
  }

 private:
  mutable std::mutex mutex_;
  std::unordered_map<ElementRef, std::weak_ptr<JLElement>, ElementRefHash> entries_;
  Counters counters_;
};

}  // namespace jumplark
