#include "query/engine/JLQueryEngine.h"

#include <atomic>
#include <stdexcept>

#include "input/ZMOForceKeyboardLayoutController.h"
#include "input/ZMOModifierTapDetector.h"
#include "overlay/JLDiscoveryController.h"
#include "overlay/JLElementHighlighter.h"
#include "platform/Platform.h"
#include "query/engine/ActivationController.h"
#include "query/engine/CommandActions.h"
#include "query/engine/CommandSearch.h"
#include "query/engine/JLQueryWindowController.h"
#include "query/engine/KeyBindings.h"
#include "query/engine/MatchActions.h"
#include "query/engine/SelectionDescription.h"
#include "query/matching/JLElementMatcher.h"
#include "selection/JLElementSelectionController.h"
#include "streams/CombineLatest.h"
#include "streams/NotificationCenter.h"

namespace jumplark {
namespace {

std::atomic<JLQueryEngine*> theSharedInstance{nullptr};

}  // namespace

JLQueryEngine& JLQueryEngine::sharedInstance() {
  JLQueryEngine* const engine = theSharedInstance.load();
  if (engine == nullptr) {
    throw std::logic_error("The query engine has not been made");
  }
  return *engine;
}

JLQueryEngine::JLQueryEngine(std::string bundleIdentifier)
    : discovery_(std::make_unique<JLDiscoveryController>()),
      selection_(std::make_unique<JLElementSelectionController>()),
      window_(std::make_unique<JLQueryWindowController>(
          QueryWindowEvents{.keyDown = [this](const KeyEvent& event) { keyDown(event); },
                            .didResignKey = [this] { activation_->queryWindowDidResignKey(); },
                            .menusDidClose =
                                [this] {
                                  if (state_.isActive.value()) {
                                    pipeline_->refresh();
                                  }
                                },
                            .commandRowPressed = [this](size_t row) { commands_->rowPressed(row); },
                            .commandsScrolled = [this](int rows) { commands_->scroll(rows); }})),
      taps_(std::make_unique<ZMOModifierTapDetector>()),
      layouts_(std::make_unique<ZMOForceKeyboardLayoutController>()),
      pipeline_(std::make_unique<QueryPipeline>(state_, window_->text(), *selection_, mainThread_)),
      activation_(std::make_unique<ActivationController>(
          state_, ActivationController::Parts{*pipeline_, *window_, *selection_, *discovery_, *taps_, *layouts_},
          mainThread_, std::move(bundleIdentifier))),
      actions_(std::make_unique<MatchActions>(state_, *activation_, *pipeline_, *selection_, mainThread_,
                                              [this] { commands_->actionWithoutMatch(); })),
      commandActions_(std::make_unique<CommandActions>(state_, *activation_, *pipeline_, *actions_, mainThread_)),
      commands_(std::make_unique<CommandSearch>(
          CommandSearch::Parts{state_, *pipeline_, *selection_, *window_, *commandActions_}, mainThread_)),
      keys_(std::make_unique<KeyBindings>(
          KeyCommands{.listKey = [this](ListKey key) { return commands_->keyDown(key); },
                      .actionElement = [this] { actionElement(); },
                      .mouseToElement = [this] { mouseToElement(); },
                      .focusElement = [this] { focusElement(); },
                      .deactivate = [this] { deactivate(); },
                      .selectNextMatch = [this] { selectNextMatch(); },
                      .selectPreviousMatch = [this] { selectPreviousMatch(); },
                      .selectionKeyReceived = [this](const auto& event) { selection_->selectionKeyReceived(event); },
                      .refresh = [this] { pipeline_->refresh(); },
                      .showPreferencesWindow = [this] { activation_->showPreferencesWindow(); }},
          *taps_, mainThread_)) {
  selection_->highlighter().setShowingCondition([this] { return state_.isActive.value(); });
  connectWindow();
  announceSelections();
  warmMatcher();
  JLQueryEngine* none = nullptr;
  theSharedInstance.compare_exchange_strong(none, this);
}

JLQueryEngine::~JLQueryEngine() {
  JLQueryEngine* self = this;
  theSharedInstance.compare_exchange_strong(self, nullptr);
  if (state_.isActive.value()) {
    activation_->deactivateWithoutSwitchingApplication();
  }
  mainThread_.close();
}

void JLQueryEngine::connectWindow() {
  TaskQueue& mainQueue = Platform::current().queues->mainQueue();
  const auto isCurrent = [this](const auto& value) { return state_.isCurrent(value.activation); };
  const auto either = [](const auto& both) { return both.first || both.second; };
  const auto isMatching =
      combineLatest(pipeline_->isWorking().observe(), pipeline_->isCollecting().observe()).map(either);
  tokens_.push_back(
      combineLatest(isMatching, commands_->isWaited().observe()).map(either).bindTo(window_->isWorking()));
  tokens_.push_back(pipeline_->currentAppElementSignal()
                        .deliverOn(mainQueue)
                        .filter(isCurrent)
                        .map([](const TargetElement& target) { return target.element; })
                        .bindTo(window_->targetApp()));
  tokens_.push_back(pipeline_->notices().deliverOn(mainQueue).filter(isCurrent).subscribe(
      [this](const QueryPipeline::Notice& notice) { window_->setNotice(notice.text); }));
}

void JLQueryEngine::announceSelections() {
  tokens_.push_back(NotificationCenter::defaultCenter().observe(
      "ElementSelectionChanged", [this](const auto&) { mainThread_.post([this] { announceSelection(); }); }));
  tokens_.push_back(commands_->isShown().observe().subscribe([this](bool) { announceSelection(); }));
}

void JLQueryEngine::announceSelection() {
  if (!state_.isActive.value()) {
    window_->announceSelection("");  // at the next activation nothing is selected at first
  } else if (!commands_->isShown().value()) {
    const auto match = selection_->currentMatch();
    window_->announceSelection(match ? selectionDescription(*match->node(), selection_->currentLabel()) : "");
  }
}

void JLQueryEngine::warmMatcher() {
  warmQueue_ = Platform::current().queues->makeSerialQueue("com.brindlefox.jumplark.warm");
  warmQueue_->post([this] {
    JLElementMatcher::warm();
    mainThread_.post([this] { warmQueue_.reset(); });
  });
}

void JLQueryEngine::setPreferencesWindow(PreferencesWindow* window) {
  activation_->setPreferencesWindow(window);
}

bool JLQueryEngine::hotkeyPressed() {
  return activation_->hotkeyPressed();
}

void JLQueryEngine::activate() {
  activation_->activate();
}

void JLQueryEngine::deactivate() {
  activation_->deactivate();
}

void JLQueryEngine::deactivateWithoutSwitchingApplication() {
  activation_->deactivateWithoutSwitchingApplication();
}

void JLQueryEngine::keyDown(const KeyEvent& event) {
  if (!window_->hasMarkedText()) {
    keys_->keyDown(event);
  }
}

void JLQueryEngine::selectNextMatch() {
  selection_->selectNextMatch();
}

void JLQueryEngine::selectPreviousMatch() {
  selection_->selectPreviousMatch();
}

void JLQueryEngine::whenMatchingFinishes(std::function<void()> callback) {
  actions_->whenMatchingFinishes(std::move(callback));
}

void JLQueryEngine::actionElement() {
  actions_->actionElement();
}

void JLQueryEngine::maybeReactivateAfterActioningElement(const Element& element) {
  actions_->maybeReactivateAfterActioningElement(element);
}

// A command has no place for the pointer, and takes no focus.
void JLQueryEngine::mouseToElement() {
  if (!commands_->isShown().value()) {
    actions_->mouseToElement();
  }
}

void JLQueryEngine::focusElement() {
  if (!commands_->isShown().value()) {
    actions_->focusElement();
  }
}

}  // namespace jumplark
