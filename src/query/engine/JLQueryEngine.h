#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Queues.h"
#include "platform/Token.h"
#include "platform/Workspace.h"
#include "query/engine/MainThreadCalls.h"
#include "query/engine/TargetElement.h"
#include "query/matching/JLElementMatch.h"
#include "streams/Property.h"
#include "streams/Stream.h"
#include "streams/Subject.h"

namespace jumplark {

class JLDiscoveryController;
class JLElement;
class JLElementSelectionController;
class JLElementTree;
class JLQueryWindowController;
class MatchingWait;
class PreferencesWindow;
class ZMOForceKeyboardLayoutController;
class ZMOModifierTapDetector;
struct KeyEvent;

/// Runs one keyboard activation after the other: chooses the target application, has its snapshot taken, searches it
/// each time the typed query has settled, hands the matches to the selection, and turns keys into actions.
///
/// The data flow, each arrow a stream:
///
///     currentApp ─► currentAppElement ─┬─► currentTree ─┬─► matches ─► selection, completedQuery ─► isWorking
///                    refresh ──────────┘                │
///     query (what is typed) ── quiet for 0.1 s ─────────┘
///
/// From currentApp's element to the matches everything runs on the shared high-priority queue, each step a task of its
/// own; keys, activations and windows belong to the main thread. The query window is placed and shown before the target
/// is asked for anything. Activations and the idle times between them are numbered, and a result carries the number of
/// the one that it was made for: what comes late is dropped. Ending an activation hides the windows first and never
/// waits for the high-priority queue.
///
/// Made, destroyed and (where nothing else is said) called on the main thread; activating and deactivating from another
/// thread waits for the main thread.
class JLQueryEngine {
 public:
  using Element = std::shared_ptr<JLElement>;
  using Tree = std::shared_ptr<JLElementTree>;
  using Application = std::optional<RunningApplication>;

  /// What is typed, and the activation in which it was.
  struct TypedQuery {
    std::string text;
    uint64_t activation = 0;
  };
  /// The matches of a query in a snapshot. The search runs when they are collected.
  struct MatchingElements {
    TargetTree tree;
    Stream<JLElementMatch> matches;
    std::string query;
    uint64_t number = 0;
  };
  /// The query whose matches were delivered last, none when that is over, and the activation it was in.
  struct CompletedQuery {
    std::optional<std::string> text;
    uint64_t activation = 0;
  };

  /// The one that start-up made; std::logic_error when there is none.
  static JLQueryEngine& sharedInstance();

  /// Becomes the shared instance unless there is one. `bundleIdentifier` is this program's own.
  explicit JLQueryEngine(std::string bundleIdentifier = "jumplark");
  JLQueryEngine(const JLQueryEngine&) = delete;
  JLQueryEngine& operator=(const JLQueryEngine&) = delete;
  /// Ends a running activation; waits for an action and for a step of the pipeline that is under way.
  ~JLQueryEngine();

  /// Null for none. It outlives the engine, or is taken back before it goes.
  void setPreferencesWindow(PreferencesWindow* window) { preferences_ = window; }

  /// Ends the running activation or starts one; whether one runs afterwards, with its window shown. Any thread.
  bool hotkeyPressed();
  /// Starts an activation. Any thread.
  void activate();
  /// Ends it and gives the keyboard back to the target. Any thread.
  void deactivate();
  /// Ends it and leaves the keyboard where it is. Any thread.
  void deactivateWithoutSwitchingApplication();

  /// A key press in the query window.
  void keyDown(const KeyEvent& event);
  /// The query window has lost the keyboard to another window.
  void queryWindowDidResignKey();

  void selectNextMatch();
  void selectPreviousMatch();
  bool hasQuery() const;
  /// Calls back once the matches of the present query are in place: at once when they are, else on a background queue;
  /// never when the query changes first.
  void whenMatchingFinishes(std::function<void()> callback);
  /// Return: clicks the selected match when the matches have caught up, or, with no query, where the pointer is.
  void actionElement();
  /// In modal mode starts the next activation shortly after an action, unless the element is one to type into or to
  /// choose from. Any thread.
  void maybeReactivateAfterActioningElement(const Element& element);
  /// Moves the pointer onto the selected match.
  void mouseToElement();
  /// Ends the activation and gives the selected match the keyboard focus.
  void focusElement();

  JLDiscoveryController& discoveryController() { return *discovery_; }
  JLElementSelectionController& selectionController() { return *selection_; }
  JLQueryWindowController& queryWindowController() { return *window_; }
  ZMOModifierTapDetector& modifierTapDetector() { return *taps_; }
  ZMOForceKeyboardLayoutController& forceKeyboardLayoutController() { return *layouts_; }

  // Observable on any thread.
  const Property<std::string>& query() const { return query_; }
  const Property<CompletedQuery>& completedQuery() const { return completedQuery_; }
  const Property<bool>& isWorking() const { return isWorking_; }
  /// The matches of a snapshot that has been asked for, at the beginning or by a refresh, are not in place yet.
  const Property<bool>& isCollecting() const { return isCollecting_; }
  const Property<bool>& isActive() const { return isActive_; }
  const Property<Application>& currentApp() const { return currentApp_; }
  const Property<TargetElement>& currentAppElement() const { return currentAppElement_; }
  const Property<TargetElement>& activeWindowElement() const { return activeWindowElement_; }
  const Property<Tree>& currentTree() const { return currentTree_; }
  /// When the activation began, on the monotonic clock, in nanoseconds.
  const Property<uint64_t>& startTime() const { return startTime_; }

  // The streams of the pipeline.
  const Observable<std::string>& querySignal() const { return querySignal_; }
  const Observable<TypedQuery>& throttledQuerySignal() const { return throttledQuerySignal_; }
  const Observable<TargetElement>& currentAppElementSignal() const { return currentAppElementSignal_; }
  const Observable<TargetTree>& elementTreeSignal() const { return elementTreeSignal_; }
  const Observable<MatchingElements>& matchingElementsSignal() const { return matchingElementsSignal_; }
  /// Each value takes the snapshot anew.
  const ReplaySubject<bool>& refreshSignal() const { return refreshSignal_; }

 private:
  /// A snapshot that is asked for; only the latest one is taken.
  struct TreeRequest {
    TargetElement target;
    uint64_t number = 0;
  };

  void setupSignals();
  void connectQuery();
  void connectTarget();
  void connectTree();
  void connectMatching();
  void connectWindow();
  void subscribeToModifierTaps();
  void observeSelection();
  void warmMatcher();

  TargetElement elementOf(const TargetElement& asked, const Application& application) const;
  TargetElement focusedWindowOf(const TargetElement& target) const;
  TargetTree takeSnapshot(const TreeRequest& request);
  void tellWhenNothingToChoose(const TargetElement& target, const JLElementTree& tree);
  void deliverMatches(const MatchingElements& found);
  void updateCollecting();
  void announceSelection();

  bool isCurrent(uint64_t activation) const { return activation_.load() == activation; }
  /// Whether the matches of what is typed are in place.
  bool isMatched() const;

  void start();
  void end();
  void endAndSwitchToTarget();
  void hidePreferencesWindow();
  void showPreferencesWindow();
  void refresh();
  void commandKeyDown(const KeyEvent& event);
  void controlTapped(uint64_t tapCount);
  void commandTapped(uint64_t tapCount);
  void lookUpElementUnderPointer() const;

  Element selectedElement() const;
  void clickAtPointer();
  void performDefaultAction(uint64_t activation);
  Element endForDefaultAction();
  void performMouseOver(uint64_t activation);
  void performFocus(uint64_t activation);
  /// Posts to the main queue; does nothing when the engine has gone by then.
  void postToMain(std::function<void(JLQueryEngine&)> task, Duration delay = {}) const;

  const std::string bundleIdentifier_;
  PreferencesWindow* preferences_ = nullptr;
  MainThreadCalls mainThread_;
  /// Null once the engine goes; read on the main thread.
  const std::shared_ptr<std::atomic<JLQueryEngine*>> self_;

  std::unique_ptr<JLDiscoveryController> discovery_;
  std::unique_ptr<JLElementSelectionController> selection_;
  std::unique_ptr<JLQueryWindowController> window_;
  std::unique_ptr<ZMOModifierTapDetector> taps_;
  std::unique_ptr<ZMOForceKeyboardLayoutController> layouts_;

  Property<std::string> query_;
  Property<CompletedQuery> completedQuery_;
  Property<bool> isWorking_{false};
  Property<bool> isCollecting_{false};
  Property<bool> isActive_{false};
  Property<Application> currentApp_;
  Property<TargetElement> currentAppElement_;
  Property<TargetElement> activeWindowElement_;
  Property<Tree> currentTree_;
  Property<uint64_t> startTime_;

  Observable<std::string> querySignal_;
  Observable<TypedQuery> throttledQuerySignal_;
  Observable<TargetElement> currentAppElementSignal_;
  Observable<TargetTree> elementTreeSignal_;
  Observable<MatchingElements> matchingElementsSignal_;
  ReplaySubject<bool> refreshSignal_;
  Subject<uint64_t> commandTaps_;  ///< the activation of each

  std::atomic<uint64_t> activation_{0};
  std::atomic<uint64_t> lastTreeRequest_{0};
  std::atomic<uint64_t> lastMatching_{0};
  TargetTree matched_;  ///< the last whose matches are in place, without its tree; main thread

  std::vector<std::unique_ptr<MatchingWait>> waits_;  ///< main thread
  std::shared_ptr<TaskQueue> warmQueue_;
  std::vector<Token> tokens_;
};

}  // namespace jumplark
