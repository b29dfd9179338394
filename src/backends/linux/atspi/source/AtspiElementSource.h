#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/atspi/bus/BusConnection.h"
#include "backends/linux/atspi/reading/ApplicationRegistry.h"
#include "backends/linux/atspi/reading/FactsReader.h"
#include "backends/linux/atspi/reading/SnapshotReader.h"
#include "backends/linux/atspi/source/ElementSource.h"
#include "backends/linux/atspi/source/SnapshotReport.h"
#include "backends/linux/atspi/source/SnapshotsUnderWay.h"
#include "backends/linux/atspi/toolkits/Toolkits.h"

namespace jumplark::atspi {

/// Elements of the applications on the accessibility bus. Keeps no snapshot: who takes one holds it.
class AtspiElementSource : public ElementSource {
 public:
  AtspiElementSource(BusConnection::Options options, WindowSystem& windows);
  explicit AtspiElementSource(WindowSystem& windows) : AtspiElementSource(BusConnection::Options{}, windows) {}

  /// Reaches for the accessibility bus. Not needed before reading, but tells what is wrong, and applications that start
  /// afterwards offer their tree.
  BusConnection::Reachability connect() { return bus_.connect(); }
  /// See BusConnection.
  Token workWhileWaiting(std::function<void()> work) { return bus_.workWhileWaiting(std::move(work)); }
  /// To be called when an application comes to the front, long before its snapshot: learns how to read it, and wakes
  /// its tree where that sleeps. Takes up to some time-outs.
  void applicationBecameActive(int32_t pid);
  /// How a snapshot was read.
  SnapshotReport report(const Snapshot& snapshot) const;
  /// What shows of an application, for as much as it tells until then; null when that was not all.
  SnapshotPointer takeUntil(const ElementRef& application, TimePoint deadline);
  /// What draws an application; asks it only if that is not known yet.
  const Toolkit& toolkitOf(const ElementRef& application) { return toolkitOf(*handleOf(application)); }
  /// The application of a process if that was found out before, empty else; no message.
  ElementRef knownApplication(int32_t pid) { return registry_.knownApplicationOfProcess(pid); }
  /// For those who ask applications something else than what elements are.
  BusConnection& connection() { return bus_; }
  SnapshotsUnderWay& snapshotsUnderWay() { return underWay_; }
  /// What to tell a person whose process is not on the bus; empty when nothing is known to help.
  std::string adviceForSilent(int32_t pid) const { return toolkits_.adviceForSilent(pid, nullptr); }

  void expectSnapshot(int32_t pid) override;
  void expectNothing() override { reader_.expectNothing(); }
  SnapshotPointer take(const ElementRef& application, bool visibleOnly, std::stop_token stop) override;
  SnapshotPointer takeForAction(const ElementRef& element, const ReadScope& scope) override;

  std::vector<Answer> read(const std::vector<ElementRef>& elements, facts::Set wanted, const ReadScope& scope) override;
  AccessibilityResult<std::vector<ElementRef>> childrenInRange(const ElementRef& element, int64_t index, int64_t count,
                                                               const ReadScope& scope) override;
  MatchedFrames frames(const ElementRef& application) override;
  AccessibilityResult<std::string> text(const ElementFacts& element, int64_t start, int64_t end,
                                        const ReadScope& scope) override;
  AccessibilityResult<std::pair<int64_t, int64_t>> visibleText(const ElementFacts& element,
                                                               const ReadScope& scope) override;
  ElementRef topmostInDocument(const ElementRef& document, Point point, const ReadScope& scope) override;
  ElementRef application(int32_t pid) override { return registry_.applicationOfProcess(pid); }
  AccessibilityResult<int32_t> processIdentifier(const ElementRef& element) override;

  AccessibilityError grabFocus(const ElementRef& element) override;
  AccessibilityError doAction(const ElementRef& element, int32_t index) override;
  void setMessagingTimeout(double seconds) override;

 private:
  /// Of elements that are on the bus.
  std::vector<Answer> readElements(const std::vector<ElementRef>& elements, facts::Set wanted, const ReadScope& scope);
  /// A part where its element, which has just been read, is now.
  static Answer readPart(const ElementRef& part, const ElementRef& owner, const Answer& ownerNow,
                         const ReadScope& scope);
  const Toolkit& toolkitOf(const AtspiHandle& element);
  ReadRequest requestFor(const ElementRef& element, facts::Set wanted, const ReadScope& scope);
  /// What must be added to what the element says of its place.
  Point offsetOf(const ElementRef& element, const Toolkit& toolkit, const ReadScope& scope);
  std::vector<MatchedFrame> framesNow(const ElementRef& application, const ReadScope& scope);
  Point originOf(const ElementRef& element, const Toolkit& toolkit, const ReadScope& scope);
  bool countsFromItsWindow(const ElementRef& element, const Toolkit& toolkit, const ReadScope& scope);
  TimePoint deadline() const;

  BusConnection bus_;
  const Toolkits toolkits_;
  ApplicationRegistry registry_;
  SnapshotReader reader_;
  SnapshotsUnderWay underWay_;
};

}  // namespace jumplark::atspi
