#include "app/JLAppDelegate.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "app/JLPreferencesController.h"
#include "app/ProductPages.h"
#include "app/ShortcutRecord.h"
#include "metrics/JLMetrics.h"
#include "metrics/JLUsageTracker.h"
#include "platform/Accessibility.h"
#include "platform/Defaults.h"
#include "platform/DesktopServices.h"
#include "platform/GlobalShortcuts.h"
#include "platform/Platform.h"
#include "platform/SystemFacts.h"
#include "platform/Texts.h"
#include "platform/Views.h"
#include "platform/Workspace.h"
#include "query/engine/JLQueryEngine.h"

namespace jumplark {
namespace {

constexpr const char* kWelcomedKey = "shownHelpOnStart";
constexpr double kMessagingTimeout = 0.5;  // seconds

Alert universalAccessPrompt() {
  return {
      localized("Enable access for Assistive Devices"),
      localized(
          "Jumplark requires access for assistive devices to be enabled for it to work.\n\nEnable access for assistive "
          "devices in the Universal Access preferences, then relaunch Jumplark.\n\nPress 'Help' for more info."),
      {localized("Open Universal Access"), localized("Help"), localized("Quit")}};
}

Alert securityPrompt() {
  return {localized("Enable access for Assistive Devices"),
          localized("Jumplark requires the ability to control your computer for it to work.\n\nTo grant access to "
                    "Jumplark:\n* Open "
                    "Security preferences\n* Click the Privacy tab\n* Select Accessibility in sidebar\n* Ensure "
                    "Jumplark is enabled\n* "
                    "Relaunch Jumplark.\n\nPress 'Help' for more info."),
          {localized("Open Security"), localized("Help"), localized("Quit")}};
}

Alert noSettings() {
  return {localized("This desktop has no settings for accessibility"),
          localized("The command \"jumplark doctor\" says what is missing and how to mend it.\n\nThen start "
                    "Jumplark again."),
          {localized("Quit")}};
}

Alert welcome() {
  return {localized("Welcome to Jumplark!"),
          localized("It looks like this is the first time you've launched Jumplark!\nWe strongly suggest you read the "
                    "README to get the most out of Jumplark."),
          {localized("Open README in browser"), localized("No, thanks.")}};
}

/// What the keys of the message below are here.
std::string ownKeys() {
  const Platform& platform = Platform::current();
  const auto shortcut = shortcutFromRecord(platform.defaults->value(JLPreferencesController::activationShortcutKey));
  return shortcut ? localizedFormat("The activation shortcut is {}, and the Command key is Super here.",
                                    platform.shortcuts->describe(*shortcut))
                  : localized("No activation shortcut is set, and the Command key is Super here.");
}

Alert alreadyRunning() {
  return {localized("Jumplark is already running!"),
          localized("We've opened up the preferences for you in case you forgot the activation shortcut.\n\nYou can "
                    "always access the "
                    "preferences by activating Jumplark, then hitting Command+,") +
              ("\n\n" + ownKeys()),
          {localized("OK")}};
}

void call(const std::function<void()>& function) {
  if (function) {
    function();
  }
}

}  // namespace

JLAppDelegate::JLAppDelegate(ProductAddresses addresses, std::string collectorAddress, Collaborators collaborators)
    : addresses_(std::move(addresses)),
      collectorAddress_(std::move(collectorAddress)),
      collaborators_(std::move(collaborators)),
      self_(std::make_shared<JLAppDelegate*>(this)) {}

JLAppDelegate::~JLAppDelegate() {
  statusItemController_.reset();
  if (engine_) {
    engine_->setPreferencesWindow(nullptr);
  }
  // Its shortcut calls the engine.
  preferences_.reset();
}

void JLAppDelegate::applicationDidFinishLaunching() {
  tellOfProblemsWithSettings();
  const auto next = [weak = std::weak_ptr(self_)] {
    if (const auto self = weak.lock()) {
      (*self)->showMainApplicationWindow();
    }
  };
  collaborators_.startCrashReporter ? collaborators_.startCrashReporter(next) : next();
}

void JLAppDelegate::tellOfProblemsWithSettings() {
  problems_ = Platform::current().defaults->observeProblems([](const std::string& problem) {
    Platform::current().views->showAlert(
        {localized("There is a problem with Jumplark's settings"), problem, {localized("OK")}}, {});
  });
}

void JLAppDelegate::showMainApplicationWindow() {
  if (std::exchange(hasStarted_, true)) {
    return;
  }
  call(collaborators_.installCrashHandlers);
  checkAccessibilityIsEnabled([this] {
    setUpdateURL();
    promptUserToReadDocumentation([this] { finishStart(); });
  });
}

std::string JLAppDelegate::systemVersion() const {
  SystemFacts* const facts = Platform::current().facts;
  return facts != nullptr ? facts->operatingSystem().version : std::string();
}

bool JLAppDelegate::usesSecurityVariant(const std::string& systemVersion) {
  return systemVersion.find("10.9") != std::string::npos || systemVersion.find("10.10") != std::string::npos;
}

void JLAppDelegate::checkAccessibilityIsEnabled(const std::function<void()>& next) {
  if (Platform::current().desktop->isAccessibilityGranted()) {
    next();
    return;
  }
  const Alert prompt = usesSecurityVariant(systemVersion()) ? securityPrompt() : universalAccessPrompt();
  Platform::current().views->showAlert(prompt, [weak = std::weak_ptr(self_)](int button) {
    if (const auto self = weak.lock()) {
      (*self)->answerAccessibilityPrompt(button);
    }
  });
}

void JLAppDelegate::answerAccessibilityPrompt(int button) {
  if (button == 0 && !Platform::current().desktop->openAccessibilitySettings()) {
    Platform::current().views->showAlert(noSettings(), [weak = std::weak_ptr(self_)](int) {
      if (const auto self = weak.lock()) {
        (*self)->terminate();
      }
    });
    return;
  }
  if (button == 1) {
    openGettingStarted(addresses_, addresses_.allowAccess, [weak = std::weak_ptr(self_)] {
      if (const auto self = weak.lock()) {
        (*self)->terminate();
      }
    });
    return;
  }
  terminate();
}

void JLAppDelegate::setUpdateURL() {
  if (!collaborators_.setUpdateFeedAddress) {
    return;
  }
  if (addresses_.updateServer.empty()) {
    collaborators_.setUpdateFeedAddress({});
    return;
  }
  const std::string version = systemVersion();
  collaborators_.setUpdateFeedAddress(
      fmt::format("{}/updates/{}.xml", addresses_.updateServer, version.empty() ? "unknown" : version));
}

void JLAppDelegate::promptUserToReadDocumentation(const std::function<void()>& next) {
  if (Platform::current().defaults->boolean(kWelcomedKey)) {
    next();
    return;
  }
  Platform::current().views->showAlert(welcome(), [weak = std::weak_ptr(self_), next](int button) {
    const auto self = weak.lock();
    if (!self) {
      return;
    }
    if (button == 0) {
      openGettingStarted((*self)->addresses_);
    }
    Platform::current().defaults->setValue(kWelcomedKey, true);
    next();
  });
}

void JLAppDelegate::finishStart() {
  const Platform& platform = Platform::current();
  JLMetrics::sharedInstance().configure(collectorAddress_);
  usageTracker_ = std::make_unique<JLUsageTracker>();
  usageTracker_->registerForNotifications();
  platform.accessibility->setMessagingTimeout(platform.accessibility->systemWideElement(), kMessagingTimeout);
  engine_ = std::make_unique<JLQueryEngine>(kOwnBundleIdentifier);
  preferences_ = std::make_unique<JLPreferencesController>(
      [this] { return shortcutPressed(); },
      JLPreferencesController::Context{addresses_, !collectorAddress_.empty(), [this] { terminate(); }});
  engine_->setPreferencesWindow(preferences_.get());
  preferences_->setupPreferences();
  statusItemController_ = std::make_unique<JLStatusItemController>(menuActions());
  giveFocusBack();
  call(collaborators_.didStart);
}

std::string JLAppDelegate::activate() {
  const bool wasActive = engine_->isActive().value();
  if (engine_->hotkeyPressed() || wasActive) {
    return {};
  }
  const std::string reason = Platform::current().workspace->whyNoneIsTold();
  return !reason.empty() ? reason : localized("No application is in front, so there is nothing to choose from.");
}

bool JLAppDelegate::shortcutPressed() {
  if (const std::string problem = activate(); !problem.empty()) {
    Platform::current().desktop->notify(problem);
  }
  return engine_->isActive().value();
}

JLStatusItemController::Actions JLAppDelegate::menuActions() {
  const auto openQueryWindow = [this] {
    if (!engine_->isActive().value()) {
      shortcutPressed();
    }
  };
  return {openQueryWindow, addresses_.updateServer.empty() ? nullptr : collaborators_.checkForUpdates,
          [this] { terminate(); }};
}

void JLAppDelegate::giveFocusBack() {
  Workspace& workspace = *Platform::current().workspace;
  const auto applications = workspace.applicationsFrontToBack();
  const auto other = std::ranges::find_if(
      applications, [](const auto& application) { return application.bundleIdentifier != kOwnBundleIdentifier; });
  if (other != applications.end()) {
    workspace.activate(other->pid, kActivateIgnoringOtherApps);
  }
}

bool JLAppDelegate::applicationShouldHandleReopenHasVisibleWindows(bool /*hasVisibleWindows*/) {
  showPreferences();
  if (preferences_ && preferences_->window() != nullptr && !std::exchange(saysAlreadyRunning_, true)) {
    preferences_->window()->showSheet(alreadyRunning(), [weak = std::weak_ptr(self_)](int) {
      if (const auto self = weak.lock()) {
        (*self)->saysAlreadyRunning_ = false;
      }
    });
  }
  return false;
}

void JLAppDelegate::applicationWillTerminate() {
  Platform::current().defaults->synchronize();
  JLMetrics::sharedInstance().shutdown();
}

void JLAppDelegate::showPreferences() {
  if (!engine_ || !preferences_) {
    // Still at a message of the start.
    Platform::current().views->activateIgnoringOtherApps();
    return;
  }
  engine_->deactivateWithoutSwitchingApplication();
  preferences_->showPreferencesWindow();
}

void JLAppDelegate::terminate() {
  call(collaborators_.terminate);
}

}  // namespace jumplark
