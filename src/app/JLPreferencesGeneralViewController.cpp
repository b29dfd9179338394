#include "app/JLPreferencesGeneralViewController.h"

#include <utility>

#include "app/JLPreferencesController.h"
#include "app/JLStatusItemController.h"
#include "platform/Defaults.h"
#include "platform/Platform.h"
#include "platform/Texts.h"

namespace jumplark {

JLPreferencesGeneralViewController::JLPreferencesGeneralViewController(std::function<Token()> suspendShortcut)
    : suspendShortcut_(std::move(suspendShortcut)) {}

JLPreferencesGeneralViewController::~JLPreferencesGeneralViewController() = default;

void JLPreferencesGeneralViewController::loadView(PreferencesWindowView& view) {
  view_ = &view;
  icon_ = Platform::current().defaults->observe(JLStatusItemController::showIconKey,
                                                [this](const DefaultsValue&) { show(); });
  launch_ = login_.launchAtLogin().observe().subscribe([this](bool) { show(); });
}

void JLPreferencesGeneralViewController::viewWillAppear() {
  if (!shortcutView_) {
    shortcutView_ = std::make_unique<ShortcutRecorder>(
        JLPreferencesController::activationShortcutKey,
        ShortcutRecorder::Hooks{suspendShortcut_, [this] { show(); },
                                [this](const Alert& refusal) { view_->showSheet(refusal, {}); }});
  }
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
  view_->setGeneralPane(model);
}

}  // namespace jumplark
