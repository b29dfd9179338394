#pragma once

#include <memory>
#include <unordered_set>
#include <utility>
#include <vector>

#include "backends/linux/atspi/reading/WalkSteps.h"
#include "backends/linux/atspi/toolkits/chromium/ManyChildren.h"

namespace jumplark::atspi {

/// Reads what shows of a Chromium window, a browser's or an embedded one's, with about half of the calls that TreeWalk
/// makes: pages hold thousands of elements, and every call costs some 25 microseconds.
///
/// What makes it cheaper is known of Chromium alone: every element has a place and a text, so that interfaces are asked
/// of the few roles only where they differ; texts are leaves; and the text or picture that a link, button or heading
/// consists of says nothing that the link does not say itself, so that only its role is read. Left out: texts of
/// nothing but spaces, and the markers of list entries.
class ChromiumWalk : private WalkSteps {
 public:
  /// The plan's `visibleOnly` counts as set.
  ChromiumWalk(CallRunner& runner, WalkPlan plan, ElementDraft& elements, TextMap& texts)
      : WalkSteps(runner, std::move(plan), elements, texts) {}

  /// Adds `start` and what shows below it. Elements that the map holds already are not read again.
  void walk(const ElementRef& start, const ElementRef& parent);
  using WalkSteps::complete;
  /// A page that shows, or a window, that holds nothing: the browser is asleep, or still loads it, or it is a blank
  /// one. Null when all pages hold something.
  FactsPointer emptyPage() const;

 private:
  /// Which children the elements of a level have, by how they are asked for.
  struct ChildrenOfLevel {
    std::vector<std::pair<ElementFacts*, std::vector<ElementRef>>> found;  ///< all of them, as they are told
    std::vector<std::unique_ptr<ManyChildren>> many;                       ///< those that show
    std::vector<ElementFacts*> large;                                      ///< to be found by their places
  };

  bool isFaceOfItsParent(const ElementFacts& element) const;
  /// True for a link that holds nothing but its face, so that its children need not be asked for.
  bool isOneLine(const ElementFacts& element) const;
  void adoptShowing(const ManyChildren& many, Level& next);
  void readIdentities(Level& level);
  void readDetails(const Level& level);
  Level readChildren(const Level& level);
  /// `children` outlives the batch's run.
  void askChildren(TypedBatch& batch, const std::shared_ptr<ElementFacts>& element, ChildrenOfLevel& children);
  void askForAll(TypedBatch& batch, ElementFacts& container, ChildrenOfLevel& children);
  void adoptAll(ElementFacts& container, const std::vector<ElementRef>& children, Level& next);
  void adoptByPlace(ElementFacts& container, Level& next);
  void leaveOutNoise(Level& all);
  bool isNoise(const ElementFacts& element) const;

  std::shared_ptr<ElementFacts> start_;
  Level documents_;
  std::unordered_set<const ElementFacts*> worded_;  ///< links that hold words only
};

}  // namespace jumplark::atspi
