#pragma once

#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// GTK 4: sets SHOWING on its windows only, tells places within them, caches what somebody has asked for before, and
/// makes elements of what controls are drawn with.
class Gtk4 final : public Toolkit {
 public:
  static bool draws(const ToolkitFacts& facts);

  bool tellsShowing() const override { return false; }
  /// Widgets without a name have that of their type ("GtkEntry").
  std::string nameForPeople(const std::string& name) const override;
  bool namesRolesAlike() const override { return true; }

  /// It knows no place on the screen, and from 4.10 on says so by zeros.
  bool extentsAreWindowRelative() const override { return true; }
  Point originIn(const WindowFacts& window, const Rect& reportedFrame) const override;
  Placement placementIn(const WindowFacts& window, const Rect& reportedFrame) const override;

  bool keepsCache() const override { return true; }
  bool drawsBetweenAnswers() const override { return true; }
  /// Only the second time its cache tells of all that the first made.
  Waking waking() const override { return {.reads = 2}; }
  bool isOnlyDecorated(const CachedTree& cache, const CacheItem& item) const override;
  bool tellsChoices() const override { return false; }
  bool tellsCharacterAtPoint() const override { return false; }
  bool endsTextsItself() const override { return true; }
  void settle(CallRunner& runner, const WalkPlan& plan, ElementDraft& elements,
              std::vector<std::shared_ptr<ElementFacts>>& walked) const override;

  bool placesByPopups() const override { return true; }
  /// A popover has a window of its own, which the window system places; how the application tells where it is depends
  /// on the version. The popover becomes a child of the frame, since it mostly lies outside its control.
  void correctPlaces(Reading& reading) const override;
  /// The buttons of spin buttons, which it keeps to itself.
  void addParts(Reading& reading) const override;
};

}  // namespace jumplark::atspi
