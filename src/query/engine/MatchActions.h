#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace jumplark {

class ActivationController;
class JLElement;
class JLElementSelectionController;
class MainThreadCalls;
class MatchingWait;
class QueryPipeline;
struct ActivationState;

/// Acts on the selected match, as soon as the matches are those of what is typed; an action that was asked for is
/// dropped when the text changes first, or the activation ends.
///
/// Asked on the main thread, which never waits: an action that had to wait for the matches runs on a background queue,
/// and goes to the main thread for what it reads and ends there.
class MatchActions {
 public:
  using Element = std::shared_ptr<JLElement>;

  /// Everything outlives it. `withoutMatch` is what Return does where nothing matches; main thread.
  MatchActions(const ActivationState& state, ActivationController& activation, QueryPipeline& pipeline,
               JLElementSelectionController& selection, MainThreadCalls& mainThread,
               std::function<void()> withoutMatch);
  MatchActions(const MatchActions&) = delete;
  MatchActions& operator=(const MatchActions&) = delete;
  /// Waits for an action that is under way; the calls are closed by then. Main thread.
  ~MatchActions();

  /// Calls back once the matches of the present query are in place: at once when they are, else on a background queue;
  /// never when the query changes first.
  void whenMatchingFinishes(std::function<void()> callback);
  /// Return: ends the activation and clicks the selected match; with no query, clicks where the pointer is.
  void actionElement();
  /// Moves the pointer onto the selected match.
  void mouseToElement();
  /// Ends the activation and gives the selected match the keyboard focus.
  void focusElement();
  /// In modal mode starts the next activation shortly after an action, unless the element is one to type into or to
  /// choose from. Any thread.
  void maybeReactivateAfterActioningElement(const Element& element);

 private:
  /// Calls with the number of the activation in which it was asked for, unless nothing is typed.
  void whenMatched(void (MatchActions::*action)(uint64_t activation));
  void performDefaultAction(uint64_t activation);
  void performMouseOver(uint64_t activation);
  void performFocus(uint64_t activation);

  /// Whether an action that was asked for in this activation is still wanted: nothing was typed since.
  bool isWanted(uint64_t activation) const;
  Element selectedElement() const;
  void clickAtPointer();
  void reportDefaultAction(const JLElement& element) const;

  const ActivationState& state_;
  ActivationController& activation_;
  QueryPipeline& pipeline_;
  JLElementSelectionController& selection_;
  MainThreadCalls& mainThread_;
  const std::function<void()> withoutMatch_;
  std::vector<std::unique_ptr<MatchingWait>> waits_;  ///< main thread
};

}  // namespace jumplark
