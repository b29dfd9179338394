#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "backends/linux/atspi/bus/TimeBudget.h"
#include "backends/linux/atspi/element/ElementTree.h"
#include "backends/linux/atspi/reading/CoordinateTransform.h"
#include "backends/linux/atspi/reading/FrameMatching.h"
#include "backends/linux/atspi/reading/TextReading.h"
#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

class CachedTree;

/// What is read of one application at one time, while it is being read.
struct SnapshotDraft {
  ElementRef application;
  int32_t pid = -1;
  ToolkitFacts toolkitFacts;
  const Toolkit* toolkit = nullptr;  ///< null when nothing could be read
  std::vector<MatchedFrame> frames;  ///< front to back
  ElementRef focusedWindow;
  ElementRef menuBar;  ///< of the focused window; found by itself in a tree
  std::vector<OpenPopover> popovers;
  ElementDraft elements;
  TextMap texts;
  std::shared_ptr<const CoordinateTransform> transform = std::make_shared<const CoordinateTransform>();
  bool visibleOnly = false;  ///< of what does not show only its identity was read
  bool complete = false;
  bool fromCache = false;                   ///< what the application's cache told was not asked again
  std::shared_ptr<const CachedTree> cache;  ///< all that it told, also of what the snapshot leaves out; may be null
  Clock::duration took{0};
};

/// A list of elements, or only its length where it is so long that it is read page by page.
struct ElementList {
  int64_t count = 0;
  std::shared_ptr<const std::vector<ElementRef>> elements;  ///< null when paged
};

/// What shows of a text, by its place in UTF-16 units.
struct SeenText {
  Range range;
  std::string text;
};

/// What is found out about one element of a snapshot.
struct Findings {
  std::optional<std::string_view> role;
  std::optional<ElementList> children;
  std::optional<ElementList> visibleChildren;
  std::optional<ElementList> visibleRows;
  std::optional<AccessibilityResult<SeenText>> seen;
};

/// All that was read of one application at one time, for an enumeration or for an action. It does not change. Two
/// things are kept with it, since they hold as long as it does: what is read later of its elements, and what is found
/// out about them. May be used from any thread.
class Snapshot {
 public:
  /// `timeForMore` is how long reads of what it lacks may take in all.
  explicit Snapshot(SnapshotDraft draft, Clock::duration timeForMore = Clock::duration::max());
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

  const ElementRef application;
  const int32_t pid;
  const ToolkitFacts toolkitFacts;
  const Toolkit* const toolkit;
  const std::vector<MatchedFrame> frames;
  const ElementRef focusedWindow;
  const std::vector<OpenPopover> popovers;
  const TextMap texts;
  const std::shared_ptr<const CoordinateTransform> transform;
  const bool visibleOnly;
  const bool complete;
  const bool fromCache;
  const std::shared_ptr<const CachedTree> cache;
  const Clock::duration took;
  const TimePoint takenAt = Clock::now();
  const ElementTree tree;
  ElementRef menuBar;         ///< of the focused window
  ElementRef focusedElement;  ///< has keyboard focus
  mutable TimeBudget budget;

  /// What is known of an element, also of what was read later; null when nothing is.
  FactsPointer find(const ElementRef& element) const;
  /// All elements in document order.
  std::vector<FactsPointer> elements() const;
  bool isOf(const ElementRef& element) const;

  /// Keeps what was read later, of an element of the tree or of any other of the application.
  void add(FactsPointer facts) const;
  /// What was read later.
  ElementDraft added() const;
  /// What was found out about the element of the tree with that index; none before.
  template <typename T>
  std::optional<T> known(int index, std::optional<T> Findings::*slot) const {
    const std::lock_guard lock(mutex_);
    return findings_[static_cast<size_t>(index)].*slot;
  }
  /// The same, else what `find` finds out; nothing is locked meanwhile.
  template <typename T, typename Find>
  T once(int index, std::optional<T> Findings::*slot, Find find) const {
    if (auto answer = known(index, slot)) {
      return std::move(*answer);
    }
    T found = find();
    const std::lock_guard lock(mutex_);
    findings_[static_cast<size_t>(index)].*slot = found;
    return found;
  }

 private:
  void findLandmarks();

  mutable std::mutex mutex_;  ///< leaf
  mutable std::atomic<bool> hasMore_{false};
  mutable std::unordered_map<ElementRef, FactsPointer, ElementRefHash> more_;
  mutable std::vector<Findings> findings_ = std::vector<Findings>(tree.nodes().size());  ///< in the order of the tree
};

using SnapshotPointer = std::shared_ptr<const Snapshot>;

}  // namespace jumplark::atspi
