#pragma once

#include <mutex>
#include <optional>
#include <unordered_map>
#include <utility>

#include "backends/linux/atspi/source/View.h"

namespace jumplark::atspi {

/// What was found out about the elements of snapshots, each once; holds as long as the view, since those do not change.
/// About elements that are read live nothing is remembered. Calls may come from any thread.
template <typename T>
class Remembered {
 public:
  explicit Remembered(const View& view) : view_(view) {}

  /// What is known of the element; none before it was found out.
  std::optional<T> known(const ElementRef& element) const {
    const std::lock_guard lock(mutex_);
    const auto found = known_.find(element);
    return found == known_.end() ? std::nullopt : std::optional<T>(found->second);
  }
  /// What is known of the element, else what `find` finds out; nothing is locked meanwhile.
  template <typename Find>
  T get(const ElementRef& element, Find find) const {
    if (auto answer = known(element)) {
      return std::move(*answer);
    }
    T found = find();
    if (view_.isInSnapshot(element)) {
      const std::lock_guard lock(mutex_);
      known_.emplace(element, found);
    }
    return found;
  }

 private:
  const View& view_;
  mutable std::mutex mutex_;  ///< leaf
  mutable std::unordered_map<ElementRef, T, ElementRefHash> known_;
};

}  // namespace jumplark::atspi
