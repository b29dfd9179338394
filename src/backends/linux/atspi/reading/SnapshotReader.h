#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "backends/linux/atspi/bus/ReplayedCalls.h"
#include "backends/linux/atspi/reading/ApplicationRegistry.h"
#include "backends/linux/atspi/reading/CacheReader.h"
#include "backends/linux/atspi/reading/Experience.h"
#include "backends/linux/atspi/reading/FactsReader.h"
#include "backends/linux/atspi/reading/Prefetch.h"
#include "backends/linux/atspi/reading/Snapshot.h"

namespace jumplark::atspi {

/// Reads what an enumeration of one application is about to ask: the focused window whole, of the other windows only
/// what they are. Of an application that owns a panel (a dock window) every frame is read whole.
///
/// Every toolkit answers the walk; what a toolkit's cache tells of its elements at once is not asked again.
class SnapshotReader {
 public:
  /// The longest time that reading takes.
  static constexpr auto kLimit = std::chrono::seconds(3);

  SnapshotReader(BusConnection& bus, ApplicationRegistry& registry);

  /// A read() of what shows of this application follows at once; its first questions go out now. Waits for nothing.
  void expect(const ElementRef& application);
  /// What was expected does not come.
  void expectNothing() { replays_.drop(); }

  /// At most kLimit; less when the application does not answer or `cancelled` says so. What could
  /// not be read is missing from it.
  SnapshotDraft read(const ElementRef& application, bool visibleOnly, const std::function<bool()>& cancelled);
  /// Gets ready what makes the first snapshot slow, as the toolkit says: elements may be made when they are first asked
  /// for, nobody knows how long a cache takes to be told, and only what was read once can be replayed.
  void wake(const ElementRef& application);

 private:
  struct Pass;
  void readFrames(Pass& pass);
  void chooseRoots(Pass& pass);
  void readRoots(Pass& pass);
  SnapshotDraft read(CallRunner& runner, const ElementRef& application, bool visibleOnly,
                     const std::function<bool()>& cancelled);
  SnapshotDraft readOnce(CallRunner& runner, const ElementRef& application, bool visibleOnly,
                         const std::function<bool()>& cancelled, TimePoint deadline);
  void rememberHidden(const SnapshotDraft& snapshot);
  void addOtherFrames(CallRunner& runner, SnapshotDraft& snapshot, const std::vector<ElementRef>& frames,
                      TimePoint deadline);
  void askAttributes(const std::vector<FrameFacts>& frames, TimePoint deadline);

  BusConnection& bus_;
  ApplicationRegistry& registry_;
  Experiences experiences_;
  CacheReader cache_{experiences_};
  Replays replays_;
};

}  // namespace jumplark::atspi
