#pragma once

#include <chrono>
#include <vector>

#include "backends/linux/atspi/vocabulary/Vocabulary.h"

namespace jumplark::atspi {

/// Finds the element at a point of the screen. Toolkits' own hit tests are wrong too often, so this one uses the
/// geometry of the application's last snapshot, in force or not, below the window that shows at the point, and asks the
/// application only whether the element is still there; nothing at all while the snapshot has only just been taken.
/// Without any snapshot the frame is read down to the point.
///
/// Points have a top-left origin. Calls may come from any thread.
class HitTest {
 public:
  /// Answers from `now`, and asks through `live`. `trust` is how long a snapshot that is in force is taken for what is
  /// there.
  HitTest(const Vocabulary& now, const Vocabulary& live, std::chrono::steady_clock::duration trust)
      : now_(now), live_(live), trust_(trust) {}

  /// The topmost element at the point, within `application` unless that is empty; noValue when there is none, or when
  /// the window at the point is another application's.
  AccessibilityResult<ElementRef> elementAt(const ElementRef& application, Point point) const;

 private:
  struct Place {
    ElementRef application;
    ElementRef frame;  ///< empty for an open menu or another window that is no frame
    const WindowFacts& window;
    Point point;
  };

  ElementRef applicationOf(const WindowFacts& window, const ElementRef& wanted) const;
  ElementRef frameOf(const WindowFacts& window, const ElementRef& application) const;
  std::vector<FactsPointer> candidates(const Snapshot& geometry, const Place& place) const;
  static bool isReachable(const ElementTree& tree, int index, const Place& place);
  ElementRef topmostInDocument(const ElementTree& tree, const std::vector<FactsPointer>& found, Point point) const;
  bool hasJustBeenRead(const Snapshot& geometry, const ElementFacts& element) const;
  AccessibilityResult<ElementRef> firstStillThere(const std::vector<FactsPointer>& candidates, Point point) const;
  AccessibilityResult<ElementRef> readDown(const Place& place) const;
  FactsPointer deepestAt(const ElementFacts& element, Point point, int& budget) const;

  const Vocabulary& now_;
  const Vocabulary& live_;
  const std::chrono::steady_clock::duration trust_;
};

}  // namespace jumplark::atspi
