#pragma once

#include <spdlog/spdlog.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "platform/AttributeValue.h"

namespace jumplark {

class JLElement;

/// Gives the same model object for equal references while somebody holds that object. Values are held weakly: an entry
/// whose model was destroyed counts as missing. Any thread.
class ElementCache {
 public:
  /// The cached model, or one made by `make` and stored.
  template <typename Make>
  std::shared_ptr<JLElement> cachedOrNew(const ElementRef& ref, Make make) {
    const std::lock_guard lock(mutex_);
    std::weak_ptr<JLElement>& entry = entries_[ref];
    if (auto cached = entry.lock()) {
      ++hits_;
      return cached;
    }
    ++misses_;
    std::shared_ptr<JLElement> made = make();
    entry = made;
    return made;
  }

  /// Empties it, and logs how often it had a model and how often not.
  void flush() {
    // Swapped out, so that the references are destroyed outside the lock.
    decltype(entries_) dropped;
    const std::lock_guard lock(mutex_);
    dropped.swap(entries_);
    spdlog::debug("element cache: {} hits, {} misses", std::exchange(hits_, 0), std::exchange(misses_, 0));
  }

 private:
  std::mutex mutex_;
  std::unordered_map<ElementRef, std::weak_ptr<JLElement>, ElementRefHash> entries_;
  uint64_t hits_ = 0;
  uint64_t misses_ = 0;
};

}  // namespace jumplark
