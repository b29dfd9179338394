#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "backends/linux/atspi/vocabulary/Vocabulary.h"

namespace jumplark {
struct WindowFacts;
}

namespace jumplark::atspi {

/// Finds the element at a point of the screen. Toolkits' own hit tests are wrong too often, so this one uses the
/// geometry of the application's last snapshot, below the window that shows at the point, and asks the application
/// only whether the element is still there; nothing at all while the snapshot has only just been taken. The geometry
/// outlives its snapshot until the next one is prepared, since clicks come after the snapshot has ended. Without any,
/// the frame is read down to the point.
///
/// Points are points of the screen, top-left origin. Calls may come from any thread.
class HitTest {
 public:
  /// `trust` is how long a snapshot is taken for what is there, unless reads are to be live.
  HitTest(Vocabulary& vocabulary, std::chrono::steady_clock::duration trust) : vocabulary_(vocabulary), trust_(trust) {}

  void snapshotPrepared(const ElementRef& application);
  /// Call before the snapshots are dropped.
  void snapshotsEnding();

  /// The topmost element at the point, within `application` unless that is empty; noValue when there is none, or when
  /// the window at the point is another application's.
  AccessibilityResult<ElementRef> elementAt(const ElementRef& application, Point point);

 private:
  /// The elements of a snapshot in document order, and by reference.
  struct Geometry {
    std::vector<FactsPointer> elements;
    std::unordered_map<ElementRef, FactsPointer, ElementRefHash> byRef;
  };
  using GeometryPointer = std::shared_ptr<const Geometry>;
  struct Place {
    ElementRef application;
    ElementRef frame;  ///< empty for an open menu or another window that is no frame
    const WindowFacts& window;
    Point point;
  };

  ElementRef applicationOf(const WindowFacts& window, const ElementRef& wanted) const;
  ElementRef frameOf(const WindowFacts& window, const ElementRef& application) const;
  GeometryPointer geometryOf(const ElementRef& application);
  std::vector<FactsPointer> candidates(const Geometry& geometry, const Place& place) const;
  bool isReachable(const Geometry& geometry, const ElementFacts& element, const Place& place) const;
  ElementRef topmostInDocument(const Geometry& geometry, const std::vector<FactsPointer>& found, Point point) const;
  bool hasJustBeenRead(const ElementRef& application, const ElementFacts& element);
  AccessibilityResult<ElementRef> firstStillThere(const std::vector<FactsPointer>& candidates, Point point) const;
  AccessibilityResult<ElementRef> readDown(const Place& place) const;
  FactsPointer deepestAt(const ElementFacts& element, Point point, int& budget) const;

  Vocabulary& vocabulary_;
  const std::chrono::steady_clock::duration trust_;
  std::mutex mutex_;
  struct Kept {
    ElementRef application;
    GeometryPointer geometry;  ///< null until asked for
    std::chrono::steady_clock::time_point since;
  };
  std::unordered_map<std::string, Kept> kept_;  ///< by bus name
  bool ended_ = false;                          ///< what is kept is of snapshots that have ended
};

}  // namespace jumplark::atspi
