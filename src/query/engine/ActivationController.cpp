#include "query/engine/ActivationController.h"

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
#include "query/engine/ActivationState.h"
#include "query/engine/JLQueryWindowController.h"
#include "query/engine/MainThreadCalls.h"
#include "query/engine/PreferencesWindow.h"
#include "query/engine/QueryPipeline.h"
#include "query/engine/TargetApplication.h"
#include "selection/JLElementSelectionController.h"

namespace jumplark {

ActivationController::ActivationController(ActivationState& state, const Parts& parts, MainThreadCalls& mainThread,
                                           std::string bundleIdentifier)
    : state_(state), parts_(parts), mainThread_(mainThread), bundleIdentifier_(std::move(bundleIdentifier)) {}

bool ActivationController::hotkeyPressed() {
  bool active = false;
  mainThread_.call([&] {
    state_.isActive.value() ? endAndSwitchToTarget() : start();
    active = state_.isActive.value();
  });
  return active;
}

void ActivationController::activate() {
  mainThread_.call([this] { start(); });
}

void ActivationController::deactivate() {
  mainThread_.call([this] { endAndSwitchToTarget(); });
}

void ActivationController::deactivateWithoutSwitchingApplication() {
  mainThread_.call([this] { end(); });
}

void ActivationController::start() {
  const Platform& platform = Platform::current();
  const Duration now = platform.queues->monotonicNow();
  const TargetApplication chosen = chooseTargetApplication(bundleIdentifier_, [this] { hidePreferencesWindow(); });
  if (!chosen.target) {
    platform.input->beep();
    return;
  }
  ++state_.number;
  state_.startTime.set(static_cast<uint64_t>(now.count()));
  state_.isActive.set(true);
  platform.accessibility->expectSnapshot(chosen.target->pid);
  // The window first, and without asking the target: the keyboard is frozen until it has come.
  parts_.window.displayWindowOverApplication(chosen.target->pid);
  state_.currentApp.set(chosen.target);
  JLTrackEvent("activation",
               MetricData{{"bundle_id", chosen.frontmost ? chosen.frontmost->bundleIdentifier : std::string()}});
  parts_.layouts.activate();
  platform.views->activateIgnoringOtherApps();
  parts_.taps.activate();
  parts_.discovery.activate();
}

void ActivationController::end() {
  ++state_.number;
  parts_.window.targetApp().set(nullptr);
  parts_.selection.highlighter().hideImmediately();
  parts_.taps.deactivate();
  parts_.discovery.deactivate();
  parts_.layouts.deactivate();
  JLElement::flushCache();
  parts_.selection.setElementMatches({});
  state_.currentApp.set(std::nullopt);
  state_.isActive.set(false);
}

void ActivationController::endAndSwitchToTarget() {
  const TargetElement window = parts_.pipeline.activeWindowElement().value();
  const bool isWindowOfThis = state_.isCurrent(window.activation);
  const auto application = state_.currentApp.value();
  end();
  if (application) {
    Platform::current().workspace->activate(application->pid, 0);
  }
  if (window.element && isWindowOfThis) {
    window.element->focus();
  }
  parts_.pipeline.forgetCompletedQuery();
}

void ActivationController::queryWindowDidResignKey() {
  // Hiding the window takes its keyboard too; that must not end the activation that may follow.
  mainThread_.post([this, activation = state_.number.load()] {
    if (state_.isCurrent(activation) && state_.isActive.value()) {
      end();
    }
  });
}

void ActivationController::hidePreferencesWindow() {
  if (preferences_ != nullptr) {
    preferences_->hidePreferencesWindow();
  }
}

void ActivationController::showPreferencesWindow() {
  if (preferences_ != nullptr) {
    end();
    preferences_->showPreferencesWindow();
  }
}

}  // namespace jumplark
