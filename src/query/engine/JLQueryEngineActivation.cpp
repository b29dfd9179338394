#include <spdlog/spdlog.h>

#include "accessibility/JLElement.h"
#include "input/ZMOForceKeyboardLayoutController.h"
#include "input/ZMOModifierTapDetector.h"
#include "metrics/JLMetrics.h"
#include "overlay/JLDiscoveryController.h"
#include "overlay/JLElementHighlighter.h"
#include "platform/Input.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Views.h"
#include "query/engine/JLQueryEngine.h"
#include "query/engine/JLQueryWindowController.h"
#include "query/engine/PreferencesWindow.h"
#include "query/engine/TargetApplication.h"
#include "selection/JLElementSelectionController.h"

namespace jumplark {

bool JLQueryEngine::hotkeyPressed() {
  bool active = false;
  mainThread_.call([&] {
    isActive_.value() ? endAndSwitchToTarget() : start();
    active = isActive_.value();
  });
  return active;
}

void JLQueryEngine::activate() {
  mainThread_.call([this] { start(); });
}

void JLQueryEngine::deactivate() {
  mainThread_.call([this] { endAndSwitchToTarget(); });
}

void JLQueryEngine::deactivateWithoutSwitchingApplication() {
  mainThread_.call([this] { end(); });
}

void JLQueryEngine::start() {
  const Platform& platform = Platform::current();
  const Duration now = platform.queues->monotonicNow();
  const TargetApplication chosen = chooseTargetApplication(bundleIdentifier_, [this] { hidePreferencesWindow(); });
  if (!chosen.target) {
    platform.input->beep();
    return;
  }
  isActive_.set(true);
  startTime_.set(static_cast<uint64_t>(now.count()));
  ++activation_;
  updateCollecting();
  platform.accessibility->expectSnapshot(chosen.target->pid);
  // The window first, and without asking the target: the keyboard is frozen until it has come.
  window_->displayWindowOverApplication(chosen.target->pid);
  currentApp_.set(chosen.target);
  JLTrackEvent("activation",
               MetricData{{"bundle_id", chosen.frontmost ? chosen.frontmost->bundleIdentifier : std::string()}});
  layouts_->activate();
  platform.views->activateIgnoringOtherApps();
  taps_->activate();
  discovery_->activate();
}

void JLQueryEngine::end() {
  ++activation_;
  window_->targetApp().set(nullptr);
  selection_->highlighter().hideImmediately();
  taps_->deactivate();
  discovery_->deactivate();
  layouts_->deactivate();
  JLElement::flushCache();
  selection_->setElementMatches({});
  currentApp_.set(std::nullopt);
  isActive_.set(false);
  updateCollecting();
}

void JLQueryEngine::endAndSwitchToTarget() {
  const TargetElement window = activeWindowElement_.value();
  const bool isWindowOfThis = isCurrent(window.activation);
  const Application application = currentApp_.value();
  end();
  if (application) {
    Platform::current().workspace->activate(application->pid, 0);
  }
  if (window.element && isWindowOfThis) {
    window.element->focus();
  }
  completedQuery_.set({});
  isActive_.set(false);
}

void JLQueryEngine::queryWindowDidResignKey() {
  // Hiding the window takes its keyboard too; that must not end the activation that may follow.
  postToMain([activation = activation_.load()](JLQueryEngine& engine) {
    if (engine.isCurrent(activation) && engine.isActive_.value()) {
      engine.end();
    }
  });
}

void JLQueryEngine::hidePreferencesWindow() {
  if (preferences_ != nullptr) {
    preferences_->hidePreferencesWindow();
  }
}

void JLQueryEngine::showPreferencesWindow() {
  if (preferences_ != nullptr) {
    end();
    preferences_->showPreferencesWindow();
  }
}

}  // namespace jumplark
