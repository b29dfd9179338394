#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "overlay/HighlightOptions.h"
#include "query/matching/JLElementMatch.h"
#include "selection/SharedState.h"

namespace jumplark {

class JLElement;
class JLElementHighlighter;
struct KeyEvent;

/// Where selectMatchInDirection would go.
enum class SelectionDirection { up, down, left, right };

/// The matches of the moment in the order of their scores, their labels, and which of them is selected; says what the
/// highlighter is to draw.
///
/// After each change "ElementSelectionChanged" is posted on the caller's thread; its object is the selected match's
/// node (std::shared_ptr<JLElementNode>), or nothing. Keys come on the main thread, new matches on a background queue:
/// the state is replaced as a whole, so that each reader sees one moment's. Made and destroyed on the main thread.
class JLElementSelectionController {
 public:
  using Matches = std::vector<JLElementMatch>;

  JLElementSelectionController();
  JLElementSelectionController(const JLElementSelectionController&) = delete;
  JLElementSelectionController& operator=(const JLElementSelectionController&) = delete;
  ~JLElementSelectionController();

  /// Replaces everything: orders, labels, selects the best and shows the overlay; without matches hides it. Once
  /// `isUnwanted` says so (any thread; never, if empty), nothing more is read of the matches and nothing drawn.
  void setElementMatches(Matches matches, const std::function<bool()>& isUnwanted = {});
  /// Wrap around; from no selection to the first and to the last.
  void selectNextMatch();
  void selectPreviousMatch();
  /// An index that is out of range selects nothing.
  void selectMatchAtIndex(size_t index);
  /// Changes nothing.
  void selectMatchInDirection(SelectionDirection direction);
  /// A letter of a label: the letters typed so far select the match whose label they are, leading letters that fit no
  /// label being dropped; none left beeps and selects the best match. Backspace forgets them and selects the best.
  void selectionKeyReceived(const KeyEvent& event);
  /// Forgets the letters typed so far.
  void resetSelectionEntry();
  /// Draws what is selected now, unless it is unwanted, and posts the notification.
  void updateHighlights(const std::function<bool()>& isUnwanted = {});
  /// Each match with its label, the selected one with its colour; in the order of drawing: the worst first, and the
  /// selected one last, in front of all.
  HighlightOptionMap elementMatchesWithHighlightOptions() const;

  std::optional<JLElementMatch> currentMatch() const;
  /// -1 when nothing is selected. Backspace leaves it as it was.
  int64_t currentIndex() const;
  /// Best first, cut to the number of labels.
  Matches elementMatchesByScore() const;
  size_t matchCount() const;
  /// Empty when nothing is selected.
  std::string currentLabel() const;
  /// The letters of a label typed so far, in capitals.
  std::string currentShortcut() const;

  /// Kept for the owner; main thread.
  const std::shared_ptr<JLElement>& outlinedElement() const { return outlinedElement_; }
  void setOutlinedElement(std::shared_ptr<JLElement> element) { outlinedElement_ = std::move(element); }

  /// Hides and shows of the end of an activation go here, see hideImmediately and setShowingCondition.
  JLElementHighlighter& highlighter() { return *highlighter_; }

 private:
  struct MatchSet;
  struct State;
  using StatePointer = std::shared_ptr<const State>;

  void updateHighlightsOf(const State& state, const std::function<bool()>& isUnwanted = {});
  static HighlightOptionMap highlightOptionsOf(const State& state);
  static void postSelection(const State& state);
  /// Selects the match that the typed letters name, else the best one; whether they named one.
  static bool selectByEntry(State& state);

  std::unique_ptr<JLElementHighlighter> highlighter_;
  SharedState<State> state_;
  std::shared_ptr<JLElement> outlinedElement_;
};

}  // namespace jumplark
