#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Token.h"
#include "query/engine/ActivationState.h"
#include "query/engine/MainThreadCalls.h"
#include "query/engine/QueryPipeline.h"

namespace jumplark {

class ActivationController;
class CommandActions;
class CommandSearch;
class JLDiscoveryController;
class JLElement;
class JLElementSelectionController;
class JLQueryWindowController;
class KeyBindings;
class MatchActions;
class PreferencesWindow;
class TaskQueue;
class ZMOForceKeyboardLayoutController;
class ZMOModifierTapDetector;
struct KeyEvent;

/// The whole way from the shortcut to the click, put together of objects that each do one part of it and do not know
/// the engine:
///
///     ActivationController   starts and ends activations, and numbers them in the ActivationState
///     QueryPipeline          from the target and what is typed to the matches
///     MatchActions           acts on the selected match
///     CommandSearch          the commands of the target's menus, their list and what is selected in it
///     CommandActions         carries them out
///     KeyBindings            which key asks for what
///
/// The engine owns these and the windows and taps that they use, connects them, and forwards to them.
///
/// Made, destroyed and (where nothing else is said) called on the main thread; activating and deactivating from another
/// thread waits for the main thread. What can be observed can be on any.
class JLQueryEngine {
 public:
  using Element = std::shared_ptr<JLElement>;

  /// The one that start-up made; std::logic_error when there is none.
  static JLQueryEngine& sharedInstance();

  /// Becomes the shared instance unless there is one. `bundleIdentifier` is this program's own.
  explicit JLQueryEngine(std::string bundleIdentifier = "jumplark");
  JLQueryEngine(const JLQueryEngine&) = delete;
  JLQueryEngine& operator=(const JLQueryEngine&) = delete;
  /// Ends a running activation; waits for an action and for a step of the pipeline that is under way.
  ~JLQueryEngine();

  // See ActivationController; any thread but for the preferences.
  void setPreferencesWindow(PreferencesWindow* window);
  bool hotkeyPressed();
  void activate();
  void deactivate();
  void deactivateWithoutSwitchingApplication();

  /// A key press in the query window. An input method that is composing there keeps its keys.
  void keyDown(const KeyEvent& event);
  void selectNextMatch();
  void selectPreviousMatch();

  // See MatchActions.
  bool hasQuery() const { return pipeline_->hasQuery(); }
  void whenMatchingFinishes(std::function<void()> callback);
  void actionElement();
  void maybeReactivateAfterActioningElement(const Element& element);
  void mouseToElement();
  void focusElement();

  JLDiscoveryController& discoveryController() { return *discovery_; }
  JLElementSelectionController& selectionController() { return *selection_; }
  JLQueryWindowController& queryWindowController() { return *window_; }
  ZMOModifierTapDetector& modifierTapDetector() { return *taps_; }
  ZMOForceKeyboardLayoutController& forceKeyboardLayoutController() { return *layouts_; }

  // See ActivationState.
  const Property<bool>& isActive() const { return state_.isActive; }
  const Property<std::optional<RunningApplication>>& currentApp() const { return state_.currentApp; }
  const Property<uint64_t>& startTime() const { return state_.startTime; }

  // See QueryPipeline.
  const Property<std::string>& query() const { return pipeline_->query(); }
  const Property<QueryPipeline::CompletedQuery>& completedQuery() const { return pipeline_->completedQuery(); }
  const Property<bool>& isWorking() const { return pipeline_->isWorking(); }
  const Property<TargetElement>& currentAppElement() const { return pipeline_->currentAppElement(); }
  const Property<TargetElement>& activeWindowElement() const { return pipeline_->activeWindowElement(); }
  const Property<QueryPipeline::Tree>& currentTree() const { return pipeline_->currentTree(); }
  const Observable<std::string>& querySignal() const { return pipeline_->querySignal(); }
  const Observable<QueryPipeline::TypedQuery>& throttledQuerySignal() const {
    return pipeline_->throttledQuerySignal();
  }
  const Observable<TargetElement>& currentAppElementSignal() const { return pipeline_->currentAppElementSignal(); }
  const Observable<TargetTree>& elementTreeSignal() const { return pipeline_->elementTreeSignal(); }
  const Observable<QueryPipeline::MatchingElements>& matchingElementsSignal() const {
    return pipeline_->matchingElementsSignal();
  }
  const ReplaySubject<bool>& refreshSignal() const { return pipeline_->refreshSignal(); }

 private:
  void connectWindow();
  void announceSelections();
  void announceSelection();
  void warmMatcher();

  // Each may use those above it.
  MainThreadCalls mainThread_;
  ActivationState state_;
  std::unique_ptr<JLDiscoveryController> discovery_;
  std::unique_ptr<JLElementSelectionController> selection_;
  std::unique_ptr<JLQueryWindowController> window_;
  std::unique_ptr<ZMOModifierTapDetector> taps_;
  std::unique_ptr<ZMOForceKeyboardLayoutController> layouts_;
  std::unique_ptr<QueryPipeline> pipeline_;
  std::unique_ptr<ActivationController> activation_;
  std::unique_ptr<MatchActions> actions_;
  std::unique_ptr<CommandActions> commandActions_;
  std::unique_ptr<CommandSearch> commands_;
  std::unique_ptr<KeyBindings> keys_;
  std::shared_ptr<TaskQueue> warmQueue_;
  std::vector<Token> tokens_;
};

}  // namespace jumplark
