#pragma once

#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/reading/CachedTree.h"
#include "backends/linux/atspi/reading/Experience.h"
#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// What a cache leaves out of the elements that it names (places, children of some), asked of all of them at once: a
/// busy application answers between two of its frames only, so that each round of questions may cost the time of one.
/// Asks a little more than a walk would, for the elements that turn out to be hidden or gone.
class Prefetch {
 public:
  /// `visibleOnly` leaves out what does not show, and what is below it. What is below the `hidden`, which did not show
  /// the last time, is left to the walk. The cache outlives this.
  Prefetch(const Toolkit& toolkit, const CachedTree& cache, bool visibleOnly,
           std::shared_ptr<const Experience::References> hidden = Experience().hidden)
      : toolkit_(toolkit), cache_(cache), visibleOnly_(visibleOnly), hidden_(std::move(hidden)) {}
  Prefetch(const Prefetch&) = delete;
  Prefetch& operator=(const Prefetch&) = delete;

  /// Asks about an element and all that is below it; the answers are there after finish().
  void start(CallRunner& runner, const ElementRef& root, TimePoint deadline);
  void finish() { batch_.finish(); }

  bool covers(const ElementRef& element) const { return asked_.contains(element); }
  /// As the toolkit reported it; none for an element that has no place or was not asked.
  std::optional<Rect> reported(const ElementRef& element) const;
  /// None unless it was asked.
  std::optional<int32_t> childCountOf(const ElementRef& element) const;
  const std::vector<ElementRef>* childrenOf(const ElementRef& element) const;
  /// False when the application did not answer all.
  bool complete() const { return complete_; }

 private:
  struct Answers {
    std::optional<Rect> extents;
    std::optional<int32_t> childCount;
    std::optional<std::vector<ElementRef>> children;
    ElementRef takesPlaceOf;  ///< the control that this decorates, instead of a place of its own
  };
  void ask(const CacheItem& item, Answers& answers, bool placeOnly);
  const Answers* find(const ElementRef& element) const;

  const Toolkit& toolkit_;
  const CachedTree& cache_;
  const bool visibleOnly_;
  const std::shared_ptr<const Experience::References> hidden_;
  TypedBatch batch_;
  std::unordered_map<ElementRef, Answers, ElementRefHash> asked_;
  bool complete_ = true;
};

}  // namespace jumplark::atspi
