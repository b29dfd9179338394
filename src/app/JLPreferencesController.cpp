#include "app/JLPreferencesController.h"

#include <atomic>
#include <stdexcept>
#include <utility>

#include "app/ShortcutRecord.h"
#include "platform/Defaults.h"
#include "platform/Input.h"
#include "platform/Platform.h"

namespace jumplark {
namespace {

constexpr Shortcut kDefaultShortcut{key_code::space, modifier_flag::command | modifier_flag::shift};

std::atomic<JLPreferencesController*> theSharedInstance{nullptr};

}  // namespace

JLPreferencesController::JLPreferencesController(std::function<bool()> activationShortcutPressed)
    : activationShortcutPressed_(std::move(activationShortcutPressed)) {
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
    defaults.setValue(activationShortcutKey, recordOfShortcut(kDefaultShortcut));
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

}  // namespace jumplark
