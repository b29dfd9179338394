#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/atspi/bus/BusConnection.h"
#include "backends/linux/atspi/bus/TimeBudget.h"
#include "backends/linux/atspi/reading/ApplicationRegistry.h"
#include "backends/linux/atspi/reading/FactsReader.h"
#include "backends/linux/atspi/reading/SnapshotReader.h"
#include "backends/linux/atspi/source/ElementSource.h"
#include "backends/linux/atspi/source/KeptTransforms.h"
#include "backends/linux/atspi/source/RecentReads.h"
#include "backends/linux/atspi/source/SnapshotReport.h"
#include "backends/linux/atspi/source/SnapshotStore.h"
#include "backends/linux/atspi/toolkits/Toolkits.h"

namespace jumplark::atspi {

/// Elements of the applications on the accessibility bus. Reads answer from a snapshot where one holds the element;
/// all others become calls to its application.
class AtspiElementSource final : public ElementSource {
 public:
  AtspiElementSource(BusConnection::Options options, WindowSystem& windows);
  explicit AtspiElementSource(WindowSystem& windows) : AtspiElementSource(BusConnection::Options{}, windows) {}

  /// Reaches for the accessibility bus. Not needed before reading, but tells what is wrong, and applications that start
  /// afterwards offer their tree.
  BusConnection::Reachability connect() { return bus_.connect(); }
  /// To be called when an application comes to the front, long before its snapshot: learns how to read it, and wakes a
  /// browser's tree. Takes up to some time-outs.
  void applicationBecameActive(int32_t pid);

  AccessibilityResult<FactsPointer> facts(const ElementRef& element, facts::Set wanted) override;
  std::vector<FactsPointer> factsOfAll(const std::vector<ElementRef>& elements, facts::Set wanted) override;
  FactsPointer snapshotFacts(const ElementRef& element) override;
  AccessibilityResult<std::vector<ElementRef>> childrenInRange(const ElementRef& element, int64_t index,
                                                               int64_t count) override;
  /// How the snapshot that is kept of an application was read; none without one.
  std::optional<SnapshotReport> report(const ElementRef& application);
  /// What to tell a person whose process is not on the bus; empty when nothing is known to help.
  std::string adviceForSilent(int32_t pid) const { return toolkits_.adviceForSilent(pid, nullptr); }
  ElementRef application(int32_t pid) override;
  AccessibilityResult<int32_t> processIdentifier(const ElementRef& element) override;
  ElementRef focusedWindow(const ElementRef& application) override;
  std::vector<Frame> frames(const ElementRef& application) override;
  ElementRef menuBar(const ElementRef& window) override;
  ElementRef focusedElement(const ElementRef& application) override;
  AccessibilityResult<std::string> textInRange(const ElementRef& element, int64_t start, int64_t end) override;
  AccessibilityResult<std::pair<int64_t, int64_t>> visibleTextRange(const ElementRef& element) override;
  ElementRef topmostInDocument(const ElementRef& document, Point point) override;
  AccessibilityError grabFocus(const ElementRef& element) override;
  AccessibilityError doAction(const ElementRef& element, int32_t index) override;
  void expectSnapshot(int32_t pid) override;
  void prepareSnapshot(const ElementRef& application, bool visibleOnly) override;
  void endSnapshot() override;
  std::vector<FactsPointer> snapshotElements(const ElementRef& application) override;
  Token beginLiveReads() override;
  void prepareAction(const ElementRef& element) override;
  void setMessagingTimeout(double seconds) override;

 private:
  /// Whether the calling thread is inside a live scope.
  static bool isLive();
  MatchedFrames matchNow(const ElementRef& application);
  /// Without a message: from the snapshot, or from what was read for an action.
  FactsPointer knownFacts(const ElementRef& element);
  ReadRequest requestFor(const ElementRef& element, facts::Set wanted);
  /// What must be added to what the element says of its place.
  Point offsetNow(const AtspiHandle& element, const Toolkit& toolkit);
  Point frameOffsetNow(const AtspiHandle& element, const Toolkit& toolkit);
  FactsPointer finish(ReadRequest& request, facts::Set before);
  /// In a live scope; children that are as many as in the snapshot are the same.
  std::vector<FactsPointer> withChildren(const std::vector<ElementRef>& containers);
  /// Live scopes are answered from the snapshot of what stands below these: an action that finds its element where it
  /// was takes the rest as it was, but for what is new.
  void keepSurroundings(const std::vector<FactsPointer>& containers);
  std::vector<FactsPointer> readSurroundings(const std::vector<ElementRef>& elements);
  AccessibilityError textAllowed(const ElementRef& element, FactsPointer& found);
  TimePoint deadline() const;

  WindowSystem& windows_;
  BusConnection bus_;
  TimeBudget calls_;  ///< for what a snapshot lacks
  const Toolkits toolkits_;
  ApplicationRegistry registry_;
  SnapshotReader reader_;
  SnapshotStore store_;
  /// Read for an action that is about to begin. An application that gets the focus back may be busy with its looks for
  /// some tenths of a second, in which every question waits for a picture to be drawn.
  RecentReads recent_;
  /// Read while a snapshot is being enumerated, of elements that it does not hold.
  RecentReads outside_;
  KeptTransforms places_;
};

}  // namespace jumplark::atspi
