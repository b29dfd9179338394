#include "app/JLPreferencesGeneralViewController.h"

#include <utility>

#include "app/JLPreferencesController.h"
#include "app/JLStatusItemController.h"
#include "app/JLUpdateChecker.h"
#include "platform/Defaults.h"
#include "platform/Platform.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

/// The query window comes back after an action.
constexpr const char* kStaysOpenKey = "ModalModeEnabled";

}  // namespace

JLPreferencesGeneralViewController::JLPreferencesGeneralViewController(std::function<Token()> suspendShortcut,
                                                                       bool hasUpdateServer)
    : suspendShortcut_(std::move(suspendShortcut)), hasUpdateServer_(hasUpdateServer) {}

JLPreferencesGeneralViewController::~JLPreferencesGeneralViewController() = default;

void JLPreferencesGeneralViewController::loadView(PreferencesWindowView& view) {
  view_ = &view;
  for (const char* key : {JLStatusItemController::showIconKey, kStaysOpenKey, JLUpdateChecker::automaticKey}) {
    settings_.push_back(Platform::current().defaults->observe(key, [this](const DefaultsValue&) { show(); }));
  }
  launch_ = login_.launchAtLogin().observe().subscribe([this](bool) { show(); });
}

void JLPreferencesGeneralViewController::viewWillAppear() {
  if (!shortcutView_) {
    shortcutView_ = std::make_unique<ShortcutRecorder>(
        JLPreferencesController::activationShortcutKey, JLPreferencesController::standardShortcut,
        ShortcutRecorder::Hooks{suspendShortcut_, [this] { show(); },
                                [this](const Alert& refusal) { view_->showSheet(refusal, {}); }});
  }
  login_.update();
  show();
}

void JLPreferencesGeneralViewController::viewDidDisappear() {
  if (shortcutView_) {
    shortcutView_->stop();
  }
}

void JLPreferencesGeneralViewController::setShowsMenuBarIcon(bool shows) {
  Platform::current().defaults->setValue(JLStatusItemController::showIconKey, shows);
}

void JLPreferencesGeneralViewController::setLaunchAtLogin(bool launch) {
  loginProblem_ = login_.setLaunchAtLogin(launch);
  show();
}

void JLPreferencesGeneralViewController::setStaysOpen(bool stays) {
  Platform::current().defaults->setValue(kStaysOpenKey, stays);
}

void JLPreferencesGeneralViewController::setLooksForUpdates(bool looks) {
  Platform::current().defaults->setValue(JLUpdateChecker::automaticKey, looks);
}

void JLPreferencesGeneralViewController::show() {
  const Platform& platform = Platform::current();
  GeneralPaneModel model;
  if (shortcutView_) {
    model.recorder = shortcutView_->model();
  }
  model.showsIcon = platform.defaults->boolean(JLStatusItemController::showIconKey);
  model.iconNote = platform.appViews->hasStatusBar() ? "" : localized("This desktop shows no such icons now.");
  model.launchesAtLogin = login_.launchAtLogin().value();
  model.loginNote = loginProblem_;
  model.staysOpen = platform.defaults->boolean(kStaysOpenKey);
  model.offersUpdates = hasUpdateServer_;
  model.looksForUpdates = platform.defaults->boolean(JLUpdateChecker::automaticKey);
  view_->setGeneralPane(model);
}

}  // namespace jumplark
