#pragma once

#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// Firefox and its relatives. They tell nearly everything as AT-SPI has it.
class Gecko final : public Toolkit {
 public:
  static bool draws(const ToolkitFacts& facts) { return facts.name == "Gecko"; }

  /// Waits for a page that is still empty: once for each page, and for less than a second.
  bool readWindow(SnapshotDraft& snapshot, const ElementRef& frame, CallRunner& runner,
                  const WalkPlan& plan) const override;
  ElementRef boxOf(CallRunner& runner, const ElementRef& frame, const ElementRef& list,
                   TimePoint deadline) const override;
  /// GTK 3 shows lists of boxes in subsurfaces, of which no compositor tells.
  bool mayHaveOpened(CallRunner& runner, const ElementRef& application, TimePoint deadline) const override;
  bool mayAskChoice(const ElementFacts& box, const ElementDraft& elements) const override;
  bool actsInClosedMenus() const override { return false; }
};

}  // namespace jumplark::atspi
