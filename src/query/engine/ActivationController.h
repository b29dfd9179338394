#pragma once

#include <string>

namespace jumplark {

class JLDiscoveryController;
class JLElementSelectionController;
class JLQueryWindowController;
class MainThreadCalls;
class PreferencesWindow;
class QueryPipeline;
class ZMOForceKeyboardLayoutController;
class ZMOModifierTapDetector;
struct ActivationState;

/// Starts and ends activations: chooses the target, shows the query window over it before it is asked for anything, and
/// switches on what works only meanwhile; at the end hides the windows first, waits for nothing, and leaves the number
/// of the activation behind, so that whatever is still under way for it is dropped.
///
/// Made and destroyed on the main thread. Where nothing else is said, other threads may call, and wait for the main
/// one.
class ActivationController {
 public:
  /// What an activation shows, switches on and empties.
  struct Parts {
    QueryPipeline& pipeline;
    JLQueryWindowController& window;
    JLElementSelectionController& selection;
    JLDiscoveryController& discovery;
    ZMOModifierTapDetector& taps;
    ZMOForceKeyboardLayoutController& layouts;
  };

  /// Everything outlives the controller, which goes while none is running. `bundleIdentifier` is this program's own.
  ActivationController(ActivationState& state, const Parts& parts, MainThreadCalls& mainThread,
                       std::string bundleIdentifier);
  ActivationController(const ActivationController&) = delete;
  ActivationController& operator=(const ActivationController&) = delete;

  /// Null for none. It outlives the controller, or is taken back before it goes. Main thread.
  void setPreferencesWindow(PreferencesWindow* window) { preferences_ = window; }

  /// Ends the running activation or starts one; whether one runs afterwards, with its window shown.
  bool hotkeyPressed();
  /// Starts one; beeps when no application can be the target.
  void activate();
  /// Ends it and gives the keyboard back to the target's window.
  void deactivate();
  /// Ends it and leaves the keyboard where it is.
  void deactivateWithoutSwitchingApplication();

  /// Ends it and shows the preferences, if there are any. Main thread.
  void showPreferencesWindow();
  /// The query window has lost the keyboard to another window: this activation ends, soon. Main thread.
  void queryWindowDidResignKey();

 private:
  void start();
  void end();
  void endAndSwitchToTarget();
  void hidePreferencesWindow();

  ActivationState& state_;
  const Parts parts_;
  MainThreadCalls& mainThread_;
  const std::string bundleIdentifier_;
  PreferencesWindow* preferences_ = nullptr;
};

}  // namespace jumplark
