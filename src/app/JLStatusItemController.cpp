#include "app/JLStatusItemController.h"

#include <chrono>
#include <utility>
#include <vector>

#include "app/JLPreferencesController.h"
#include "app/ShortcutRecord.h"
#include "platform/Defaults.h"
#include "platform/GlobalShortcuts.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

constexpr const char* kToldKey = "toldOfMissingStatusBar";
/// At login the panel may come after this program.
constexpr std::chrono::seconds kPatience{20};

const StatusItem kStatusItem{26.0, "Jumplark", "jumplark-menu", "jumplark-menu-selected"};

std::string waysToPreferences() {
  const Platform& platform = Platform::current();
  const auto shortcut = shortcutFromRecord(platform.defaults->value(JLPreferencesController::activationShortcutKey));
  return shortcut ? localizedFormat("To open the preferences, start Jumplark again, or press {} and then Super+comma.",
                                    platform.shortcuts->describe(*shortcut))
                  : localized("To open the preferences, start Jumplark again.");
}

Alert noStatusBar() {
  return {
      localized("Jumplark has no icon on this desktop"),
      localized("Jumplark is running, but this desktop has no place for its icon.") + ("\n\n" + waysToPreferences()),
      {localized("OK")},
      false};
}

}  // namespace

JLStatusItemController::JLStatusItemController(Actions actions)
    : actions_(std::move(actions)), self_(std::make_shared<JLStatusItemController*>(this)) {
  bindToDefaults();
}

JLStatusItemController::~JLStatusItemController() = default;

void JLStatusItemController::bindToDefaults() {
  Defaults& defaults = *Platform::current().defaults;
  observation_ = defaults.observe(
      showIconKey, [this](const DefaultsValue&) { follow(Platform::current().defaults->boolean(showIconKey)); });
  shortcut_ = defaults.observe(JLPreferencesController::activationShortcutKey, [this](const DefaultsValue&) {
    if (statusItem_) {
      setupMenu();
    }
  });
  follow(defaults.boolean(showIconKey));
}

void JLStatusItemController::follow(bool shows) {
  if (!shows) {
    removeStatusItem();
  } else if (!statusItem_) {
    setupStatusItem();
    setupMenu();
    tellWhenThereIsNoStatusBar();
  }
}

void JLStatusItemController::setupStatusItem() {
  statusItem_ = Platform::current().appViews->makeStatusItem(kStatusItem);
}

void JLStatusItemController::setupMenu() {
  const Platform& platform = Platform::current();
  const auto shortcut = shortcutFromRecord(platform.defaults->value(JLPreferencesController::activationShortcutKey));
  std::vector<MenuEntry> entries = {{localized("Open the query window"), [this] { openQueryWindow(); },
                                     shortcut ? platform.shortcuts->describe(*shortcut) : std::string()},
                                    {},
                                    {localized("About"), [this] { showAbout(); }},
                                    {localized("Help..."), [this] { showHelp(); }}};
  if (actions_.checkForUpdates) {
    entries.push_back({localized("Check for updates..."), [this] { checkForUpdates(); }});
  }
  entries.insert(entries.end(), {{},
                                 {localized("Preferences..."), [this] { showPreferences(); }},
                                 {localized("Usage..."), [this] { showUsage(); }},
                                 {},
                                 {localized("Quit"), [this] { quit(); }}});
  statusItem_->setMenu("Jumplark", std::move(entries));
}

void JLStatusItemController::removeStatusItem() {
  statusItem_.reset();
}

void JLStatusItemController::tellWhenThereIsNoStatusBar() {
  Platform::current().queues->mainQueue().postAfter(kPatience, [weak = std::weak_ptr(self_)] {
    const auto self = weak.lock();
    const Platform& platform = Platform::current();
    if (!self || !(*self)->statusItem_ || platform.appViews->hasStatusBar() || platform.defaults->boolean(kToldKey)) {
      return;
    }
    platform.defaults->setValue(kToldKey, true);
    platform.views->showAlert(noStatusBar(), {});
  });
}

void JLStatusItemController::openQueryWindow() {
  if (actions_.openQueryWindow) {
    actions_.openQueryWindow();
  }
}

void JLStatusItemController::showAbout() {
  JLPreferencesController::sharedInstance().showPreferencesPaneWithTitle("About");
}

void JLStatusItemController::showHelp() {
  JLPreferencesController::sharedInstance().showPreferencesPaneWithTitle("Help");
}

void JLStatusItemController::checkForUpdates() {
  if (actions_.checkForUpdates) {
    actions_.checkForUpdates();
  }
}

void JLStatusItemController::showPreferences() {
  JLPreferencesController::sharedInstance().showPreferencesPaneWithTitle("General");
}

void JLStatusItemController::showUsage() {
  JLPreferencesController::sharedInstance().showPreferencesPaneWithTitle("Usage");
}

void JLStatusItemController::quit() {
  if (actions_.quit) {
    actions_.quit();
  }
}

}  // namespace jumplark
