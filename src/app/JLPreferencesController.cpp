#include "app/JLPreferencesController.h"

#include <spdlog/spdlog.h>

#include <atomic>
#include <stdexcept>
#include <utility>

#include "app/ShortcutRecord.h"
#include "platform/Defaults.h"
#include "platform/Platform.h"
#include "platform/Texts.h"
#include "platform/Views.h"

namespace jumplark {
namespace {

std::atomic<JLPreferencesController*> theSharedInstance{nullptr};

}  // namespace

JLPreferencesController::JLPreferencesController(std::function<bool()> activationShortcutPressed)
    : JLPreferencesController(std::move(activationShortcutPressed), Context()) {}

JLPreferencesController::JLPreferencesController(std::function<bool()> activationShortcutPressed, Context context)
    : activationShortcutPressed_(std::move(activationShortcutPressed)), context_(std::move(context)) {
  JLPreferencesController* none = nullptr;
  theSharedInstance.compare_exchange_strong(none, this);
}

JLPreferencesController::~JLPreferencesController() {
  JLPreferencesController* self = this;
  theSharedInstance.compare_exchange_strong(self, nullptr);
}

JLPreferencesController& JLPreferencesController::sharedInstance() {
  JLPreferencesController* const controller = theSharedInstance.load();
  if (controller == nullptr) {
    throw std::logic_error("The preferences controller has not been made");
  }
  return *controller;
}

void JLPreferencesController::setupPreferences() {
  setupUserDefaults();
  bindToUserDefaults();
  registerShortcut();
}

void JLPreferencesController::setupUserDefaults() {
  Platform::current().defaults->registerDefaults({{"ShowMenuBarIcon", true}, {"MetricsEnabled", true}});
}

void JLPreferencesController::registerShortcut() {
  if (isRegistered_) {
    binding_.reset();
    return;
  }
  if (!hasShortcutSet()) {
    Defaults& defaults = *Platform::current().defaults;
    if (!defaults.value(activationShortcutKey).is_null()) {
      spdlog::warn(
          "\"{}\" in the settings is no shortcut (a function key, or a key with Super, Control or Alt); {} takes "
          "its place",
          activationShortcutKey, Platform::current().shortcuts->describe(standardShortcut));
    }
    defaults.setValue(activationShortcutKey, recordOfShortcut(standardShortcut));
    defaults.synchronize();
  }
  binding_ = std::make_unique<JLShortcutBinding>(activationShortcutKey, activationShortcutPressed_);
  isRegistered_ = true;
}

bool JLPreferencesController::hasShortcutSet() const {
  return shortcutFromRecord(Platform::current().defaults->value(activationShortcutKey)).has_value();
}

std::optional<Shortcut> JLPreferencesController::registeredShortcut() const {
  return binding_ ? binding_->registeredShortcut() : std::nullopt;
}

PreferencesWindowView* JLPreferencesController::window() const {
  return windowController_ ? &windowController_->window() : nullptr;
}

void JLPreferencesController::showPreferencesWindow() {
  if (!windowController_) {
    makeWindowController();
  }
  if (windowController_) {
    windowController_->showWindow();
  }
}

void JLPreferencesController::makeWindowController() {
  auto made = std::make_unique<JLPreferencesWindowController>(JLPreferencesWindowController::Context{
      context_.addresses, context_.hasCollector, [this] { return binding_ ? binding_->suspend() : Token(); }});
  if (made->isLoaded()) {
    windowController_ = std::move(made);
  } else {
    tellThatProgramMoved();
  }
}

void JLPreferencesController::tellThatProgramMoved() {
  const Alert alert{
      localized("Error!"),
      localized("It appears you may have moved Jumplark since it started running. We couldn't load a resource we "
                "were looking for, so Jumplark has to quit.\n\nIf you relaunch Jumplark from where it is now, "
                "everything should work!"),
      {localized("Quit")}};
  Platform::current().views->showAlert(alert, [terminate = context_.terminate](int) {
    if (terminate) {
      terminate();
    }
  });
}

void JLPreferencesController::hidePreferencesWindow() {
  if (windowController_) {
    windowController_->close();
  }
}

void JLPreferencesController::showPreferencesPaneWithTitle(const std::string& identifier) {
  showPreferencesWindow();
  if (windowController_) {
    windowController_->selectPane(identifier);
    Platform::current().views->activateIgnoringOtherApps();
  }
}

}  // namespace jumplark
