#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "backends/linux/atspi/ApplicationRegistry.h"
#include "backends/linux/atspi/ChromiumReader.h"
#include "backends/linux/atspi/SnapshotStore.h"

namespace jumplark::atspi {

/// Reads what an enumeration of one application is about to ask: the focused window whole, of the other windows only
/// what they are. Of an application that owns a panel (a dock window) every frame is read whole.
///
/// Every toolkit answers the walk; what a toolkit's cache tells of its elements at once is not asked again.
class SnapshotReader {
 public:
  /// The longest time that reading takes.
  static constexpr auto kLimit = std::chrono::seconds(3);

  SnapshotReader(BusConnection& bus, ApplicationRegistry& registry) : bus_(bus), registry_(registry), chromium_(bus) {}

  /// At most kLimit; less when the application does not answer or `cancelled` says so. Never null: what could
  /// not be read is missing from it.
  std::unique_ptr<Snapshot> read(const ElementRef& application, bool visibleOnly,
                                 const std::function<bool()>& cancelled);
  /// Browsers show an empty frame until somebody asks for more than names: asks.
  void wake(const ElementRef& application);

 private:
  struct Reading;
  void addApplication(Snapshot& snapshot, const std::vector<FrameFacts>& frames, TimePoint deadline);
  void addOtherFrames(Snapshot& snapshot, const std::vector<ElementRef>& frames, TimePoint deadline);
  std::shared_ptr<const CachedTree> readCache(const std::string& busName, TimePoint deadline);
  void readRoot(Snapshot& snapshot, const ElementRef& frame, const WalkPlan& plan);
  void wakeFrames(const std::vector<FrameFacts>& frames, TimePoint deadline);

  BusConnection& bus_;
  ApplicationRegistry& registry_;
  ChromiumReader chromium_;
};

/// The frame that has, or would get, the keyboard: of the topmost normal window or dialog.
ElementRef focusedFrame(const std::vector<MatchedFrame>& matched, const std::vector<FrameFacts>& frames,
                        bool hasWindows);

}  // namespace jumplark::atspi
