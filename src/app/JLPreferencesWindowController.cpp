#include "app/JLPreferencesWindowController.h"

#include <algorithm>

#include "platform/Platform.h"
#include "platform/Texts.h"

namespace jumplark {

JLPreferencesWindowController::JLPreferencesWindowController(const Context& context)
    : general_(context.suspendShortcut, !context.addresses.updateServer.empty()),
      advanced_(context.addresses, context.hasCollector),
      help_(context.addresses),
      about_(context.addresses.homepage),
      panes_{&general_, &advanced_, &usage_, nullptr, &help_, &about_} {
  view_ = Platform::current().appViews->makePreferencesWindow(localized("Jumplark Preferences"), descriptions());
  if (!view_) {
    return;
  }
  for (JLPreferencesPane* pane : panes_) {
    if (pane != nullptr) {
      pane->loadView(*view_);
    }
  }
  view_->setDelegate(this);
}

JLPreferencesWindowController::~JLPreferencesWindowController() {
  if (view_) {
    view_->setDelegate(nullptr);
  }
}

std::vector<std::optional<PaneDescription>> JLPreferencesWindowController::descriptions() const {
  std::vector<std::optional<PaneDescription>> result;
  for (const JLPreferencesPane* pane : panes_) {
    result.push_back(pane == nullptr ? std::nullopt
                                     : std::optional(PaneDescription{pane->identifier(), pane->toolbarItemLabel(),
                                                                     pane->toolbarItemImage()}));
  }
  return result;
}

JLPreferencesPane* JLPreferencesWindowController::paneWithIdentifier(const std::string& identifier) const {
  const auto found = std::ranges::find_if(
      panes_, [&](const JLPreferencesPane* pane) { return pane != nullptr && pane->identifier() == identifier; });
  return found != panes_.end() ? *found : nullptr;
}

void JLPreferencesWindowController::showWindow() {
  view_->makeKeyAndOrderFront();
}

void JLPreferencesWindowController::selectPane(const std::string& identifier) {
  if (paneWithIdentifier(identifier) != nullptr) {
    view_->selectPane(identifier);
  }
}

void JLPreferencesWindowController::paneWillAppear(const std::string& identifier) {
  if (JLPreferencesPane* const pane = paneWithIdentifier(identifier)) {
    pane->viewWillAppear();
  }
}

void JLPreferencesWindowController::paneDidDisappear(const std::string& identifier) {
  if (JLPreferencesPane* const pane = paneWithIdentifier(identifier)) {
    pane->viewDidDisappear();
  }
}

void JLPreferencesWindowController::recorderClicked() {
  if (ShortcutRecorder* const recorder = general_.shortcutView()) {
    recorder->click();
  }
}

void JLPreferencesWindowController::recorderClearClicked() {
  if (ShortcutRecorder* const recorder = general_.shortcutView()) {
    recorder->clear();
  }
}

void JLPreferencesWindowController::recorderResetClicked() {
  if (ShortcutRecorder* const recorder = general_.shortcutView()) {
    recorder->reset();
  }
}

void JLPreferencesWindowController::recorderKeyDown(const KeyEvent& event) {
  if (ShortcutRecorder* const recorder = general_.shortcutView()) {
    recorder->keyDown(event);
  }
}

void JLPreferencesWindowController::recorderLostKeyboard() {
  if (ShortcutRecorder* const recorder = general_.shortcutView()) {
    recorder->stop();
  }
}

}  // namespace jumplark
