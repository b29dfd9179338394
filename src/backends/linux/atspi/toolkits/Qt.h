#pragma once

#include "backends/linux/atspi/reading/Toolkit.h"
#include "backends/linux/atspi/toolkits/QtNumbers.h"

namespace jumplark::atspi {

/// Qt 5 and 6: no cache, no socket of its own; each element is asked.
class Qt : public Toolkit {
 public:
  static bool draws(const ToolkitFacts& facts) { return facts.name == "Qt"; }

  bool namesRolesAlike() const override { return true; }
  bool countsFromItsScreen() const override { return true; }
  /// Counts from the client area, inside decorations that it may draw itself.
  Point originIn(const WindowFacts& window, const Rect& reportedFrame) const override;
  /// It compares a point with every child in a way that takes it a second with some thousands.
  bool findsChildrenAtPoints() const override { return false; }
  bool hasRowHeaders() const override { return true; }
  bool isLeaf(uint32_t number) const override;
  bool isPlain(uint32_t number) const override;
  /// A tool button counts its menu among its children only where an arrow beside it opens that; it gives the menu
  /// nevertheless, and is down while that is open.
  bool mayHaveOpenMenu(const ElementFacts& element) const override;
  bool tellsChoices() const override { return false; }
  /// Menus that some code has shown without a bar or a button that holds them: nobody lists them.
  Opened findOpen(CallRunner& runner, const ElementRef& frame, const Snapshot* last,
                  TimePoint deadline) const override {
    return {unlistedMenus(runner, frame, last, deadline), {}};
  }
  bool endsTextsItself() const override { return true; }
  /// Lists, tables and trees end where their scroll bars begin.
  void settle(CallRunner& runner, const WalkPlan& plan, ElementDraft& elements,
              std::vector<std::shared_ptr<ElementFacts>>& walked) const override;
  /// Names the button at the end of a tool bar too narrow for its actions, which has no word of its own and shows two
  /// arrows: "More" and ">>". A tool bar makes it before anything else, so that it comes first in it.
  void nameControls(ElementDraft& elements) const override;
  /// Hides items of which nothing can be seen, though they say that they show: what has been scrolled below the headers
  /// of its table, and page tabs below the two buttons at the end of a row of too many.
  void hideOccluded(ElementDraft& elements) const override;
  /// The arrows of spin boxes, which most styles draw one above the other at the end, and the arrows of trees, each in
  /// the space before its row's first cell; it gives no elements to them.
  void addParts(Reading& reading) const override;
};

}  // namespace jumplark::atspi
