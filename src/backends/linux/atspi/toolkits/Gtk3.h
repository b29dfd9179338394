#pragma once

#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// GTK 3: a cache that is complete but for places and the children of lists and tables.
class Gtk3 : public Toolkit {
 public:
  static bool draws(const ToolkitFacts& facts);

  bool namesRolesAlike() const override { return true; }
  bool keepsCache() const override { return true; }
  bool drawsBetweenAnswers() const override { return true; }
  Waking waking() const override { return {.triesCache = true, .reads = 1}; }
  bool endsTextsItself() const override { return true; }
  bool mayBeCaptioned(const ElementFacts& element, const ElementDraft& elements) const override;
  /// Rows of lists and tables are what they say.
  void settle(CallRunner& runner, const WalkPlan& plan, ElementDraft& elements,
              std::vector<std::shared_ptr<ElementFacts>>& walked) const override;
  /// Where it does not know the place of its window, what stands in open menus counts from below the title bar that it
  /// draws itself, and from within the menu's shadow.
  void correctPlaces(Reading& reading) const override;
  void nameControls(ElementDraft& elements) const override;
  /// A label with links, each of which stands in it without a place.
  bool mayHoldLinks(const ElementFacts& element) const override;
  /// The buttons of spin buttons, the triangles of tree views and the crosses on tabs, to which it gives no elements.
  void addParts(Reading& reading) const override;
};

}  // namespace jumplark::atspi
