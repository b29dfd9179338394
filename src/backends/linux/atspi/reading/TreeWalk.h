#pragma once

#include "backends/linux/atspi/reading/WalkSteps.h"

namespace jumplark::atspi {

/// Reads a subtree breadth first: of a whole level at once first what decides (states, role, number of children), then
/// the rest. Works with every toolkit, since it asks only what all of them answer.
///
/// The result is a tree whatever the application says: an element belongs to the first parent that names it. Not read:
/// closed menus, and the children of large or managed containers (lists, tables) that do not show. Ends early, with
/// what there is, at the deadline and when the application stops answering.
class TreeWalk : private WalkSteps {
 public:
  TreeWalk(CallRunner& runner, WalkPlan plan, ElementDraft& elements, TextMap& texts)
      : WalkSteps(runner, std::move(plan), elements, texts) {}

  /// Adds `start` and what is below it. Elements that the map holds already are not read again.
  void walk(const ElementRef& start, const ElementRef& parent);
  using WalkSteps::complete;

 private:
  bool fillFromCache(ElementFacts& element) const;
  void readAhead(const ElementRef& start);
  void readIdentities(Level& level);
  void askIdentity(TypedBatch& batch, ElementFacts& e, bool withTheRest);
  void completeFromCache(TypedBatch& batch, ElementFacts& e);
  void readDetails(const Level& level);
  Level readChildren(const Level& level);
  void readVisibleChildren(ElementFacts& container, Level& next);
  bool isClosedMenu(const ElementFacts& element) const;

  std::shared_ptr<Prefetch> ahead_;  ///< null without a cache
};

}  // namespace jumplark::atspi
