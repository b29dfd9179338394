#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "backends/linux/atspi/bus/TimeBudget.h"
#include "backends/linux/atspi/element/ElementTree.h"
#include "backends/linux/atspi/reading/CoordinateTransform.h"
#include "backends/linux/atspi/reading/FrameMatching.h"
#include "backends/linux/atspi/reading/TextReading.h"
#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// What is read of one application at one time, while it is being read.
struct SnapshotDraft {
  ElementRef application;
  int32_t pid = -1;
  ToolkitFacts toolkitFacts;
  const Toolkit* toolkit = nullptr;  ///< null when nothing could be read
  std::vector<MatchedFrame> frames;  ///< front to back
  ElementRef focusedWindow;
  ElementRef menuBar;  ///< of the focused window; found by itself in a tree
  FactsMap elements;
  TextMap texts;
  std::shared_ptr<const CoordinateTransform> transform = std::make_shared<const CoordinateTransform>();
  bool visibleOnly = false;  ///< of what does not show only its identity was read
  bool complete = false;
  bool fromCache = false;  ///< what the application's cache told was not asked again
  Clock::duration took{0};
};

/// All that was read of one application at one time. It does not change, except that what is read later of its elements
/// is kept with it. May be used from any thread.
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
  const TextMap texts;
  const std::shared_ptr<const CoordinateTransform> transform;
  const bool visibleOnly;
  const bool complete;
  const bool fromCache;
  const Clock::duration took;
  const TimePoint takenAt = Clock::now();
  const ElementTree tree;     ///< empty for an action, which reads here and there
  ElementRef menuBar;         ///< of the focused window
  ElementRef focusedElement;  ///< has keyboard focus
  mutable TimeBudget budget;

  /// What is known of an element, also of what was read later; null when nothing is.
  FactsPointer find(const ElementRef& element) const;
  /// All elements in document order.
  std::vector<FactsPointer> elements() const;
  /// Keeps what was read later, of an element of the tree or of any other of the application.
  void add(FactsPointer facts) const;
  bool isOf(const ElementRef& element) const;

 private:
  void findLandmarks();

  mutable std::mutex mutex_;  ///< leaf
  mutable std::atomic<bool> hasMore_{false};
  mutable std::unordered_map<ElementRef, FactsPointer, ElementRefHash> more_;
};

using SnapshotPointer = std::shared_ptr<const Snapshot>;

}  // namespace jumplark::atspi
