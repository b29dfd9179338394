#pragma once

#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// A browser, or an application that is a browser inside. Its pages show nothing on the accessibility bus until
/// somebody asks for attributes; then they fill within some tens of milliseconds, a large page within some hundreds.
class Chromium final : public Toolkit {
 public:
  static bool draws(const ToolkitFacts& facts) { return facts.name == "Chromium"; }

  /// It opens further windows, which are asleep.
  Waking waking() const override { return {.eachTime = true, .asksAttributes = true}; }
  /// It scales its own controls, and tells the places in its pages as they are on the screen.
  bool tellsScreenPlace(const ElementFacts& element, const ElementDraft& elements) const override;
  /// Where it does not know the place of its window, pages count in pixels of the surface, and all else in points.
  void correctPlaces(Reading& reading) const override;
  ElementRef topmostInDocument(CallRunner& runner, const AtspiHandle& document, Point point,
                               TimePoint deadline) const override;
  /// Wakes the window, reads it, and waits for a page that is still empty: once for each page, and for less than a
  /// second.
  bool readWindow(SnapshotDraft& snapshot, const ElementRef& frame, CallRunner& runner,
                  const WalkPlan& plan) const override;
  bool tellsChoices() const override { return false; }
  /// The list of a box in a page has a frame of its own, in which it holds nothing, and a menu one that holds a bar.
  bool mayHaveOpened(CallRunner& runner, const ElementRef& application, TimePoint deadline) const override;
  /// The box of a page that has its list open.
  Opened findOpen(CallRunner& runner, const ElementRef& frame, const Snapshot* last, TimePoint deadline) const override;
  ElementRef findOpener(CallRunner& runner, const ElementRef& frame, TimePoint deadline) const override;
  /// Which switch to start it with. Looks at the files beside the process's program.
  std::string adviceForSilent(int32_t pid, const Snapshot* snapshot) const override;
};

}  // namespace jumplark::atspi
