#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/JLStatusItemController.h"
#include "app/ProductAddresses.h"
#include "platform/Token.h"

namespace jumplark {

class JLPreferencesController;
class JLQueryEngine;
class JLUsageTracker;

/// Starts the program step by step, asks for what it cannot work without, greets a new user, and ends it in order. Owns
/// what lives as long as the program. Main thread only.
///
/// Messages do not block: where a step has one, the next step follows its answer.
class JLAppDelegate {
 public:
  /// What other parts of the program do at their step. Any of them may be empty.
  struct Collaborators {
    /// Deals with what an earlier crash left and then calls back, once, on the main thread.
    std::function<void(std::function<void()> showMainApplicationWindow)> startCrashReporter;
    std::function<void()> installCrashHandlers;
    /// Where the updates of this system are announced; empty when the build has no update server.
    std::function<void(const std::string& address)> setUpdateFeedAddress;
    std::function<void()> checkForUpdates;
    std::function<void()> terminate;
    /// The program is ready for its shortcut.
    std::function<void()> didStart;
  };

  JLAppDelegate(ProductAddresses addresses, std::string collectorAddress, Collaborators collaborators);
  JLAppDelegate(const JLAppDelegate&) = delete;
  JLAppDelegate& operator=(const JLAppDelegate&) = delete;
  ~JLAppDelegate();

  void applicationWillFinishLaunching() {}
  /// Starts the crash reporter only; that calls showMainApplicationWindow.
  void applicationDidFinishLaunching();
  /// All the rest of the start, once a process.
  void showMainApplicationWindow();
  /// The user has started the program again: shows the preferences and says why, once however often that happens until
  /// the answer. False: nothing else is to be done.
  bool applicationShouldHandleReopenHasVisibleWindows(bool hasVisibleWindows);
  /// Writes the settings, then keeps what metrics are left.
  void applicationWillTerminate();

  void showPreferences();

  /// None of these before its step of the start.
  JLQueryEngine* engine() const { return engine_.get(); }
  /// What a press of the shortcut does, once that exists: shows the query window, or hides it. A sentence when there is
  /// nothing to show it over.
  std::string activate();
  JLStatusItemController* statusItemController() const { return statusItemController_.get(); }
  JLPreferencesController* preferencesController() const { return preferences_.get(); }

  /// Whether this system's permission is found among those for privacy.
  static bool usesSecurityVariant(const std::string& systemVersion);

 private:
  void tellOfProblemsWithSettings();
  void checkAccessibilityIsEnabled(const std::function<void()>& next);
  void answerAccessibilityPrompt(int button);
  void setUpdateURL();
  void promptUserToReadDocumentation(const std::function<void()>& next);
  void finishStart();
  bool shortcutPressed();
  JLStatusItemController::Actions menuActions();
  void giveFocusBack();
  std::string systemVersion() const;
  void terminate();

  const ProductAddresses addresses_;
  const std::string collectorAddress_;
  const Collaborators collaborators_;
  std::shared_ptr<JLAppDelegate*> self_;  ///< for answers that come after the end
  bool hasStarted_ = false;
  bool saysAlreadyRunning_ = false;
  Token problems_;
  std::unique_ptr<JLUsageTracker> usageTracker_;
  std::unique_ptr<JLQueryEngine> engine_;
  std::unique_ptr<JLPreferencesController> preferences_;
  std::unique_ptr<JLStatusItemController> statusItemController_;
};

}  // namespace jumplark
