#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/JLPreferencesPane.h"
#include "app/LaunchAtLoginController.h"
#include "app/ShortcutRecorder.h"
#include "platform/Token.h"

namespace jumplark {

/// The activation shortcut, the icon in the panel, the start at login, what follows a click, and the look for updates.
class JLPreferencesGeneralViewController final : public JLPreferencesPane {
 public:
  /// `suspendShortcut` lets the registered shortcut go for as long as the token lives.
  JLPreferencesGeneralViewController(std::function<Token()> suspendShortcut, bool hasUpdateServer);
  ~JLPreferencesGeneralViewController() override;

  std::string identifier() const override { return textForLater("General"); }
  PaneImage toolbarItemImage() const override { return PaneImage::general; }
  void loadView(PreferencesWindowView& view) override;
  /// Makes the recorder, the first time; it reads and writes the shortcut's setting from then on.
  void viewWillAppear() override;
  void viewDidDisappear() override;

  /// Null before the pane's first appearance.
  ShortcutRecorder* shortcutView() const { return shortcutView_.get(); }
  void setShowsMenuBarIcon(bool shows);
  void setLaunchAtLogin(bool launch);
  void setStaysOpen(bool stays);
  void setLooksForUpdates(bool looks);

 private:
  void show();

  std::function<Token()> suspendShortcut_;
  const bool hasUpdateServer_;
  PreferencesWindowView* view_ = nullptr;
  LaunchAtLoginController login_;
  std::string loginProblem_;
  std::unique_ptr<ShortcutRecorder> shortcutView_;
  std::vector<Token> settings_;
  Token launch_;
};

}  // namespace jumplark
