#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/JLPreferencesPane.h"
#include "app/LaunchAtLoginController.h"
#include "app/ShortcutRecorder.h"
#include "platform/Token.h"

namespace jumplark {

/// The activation shortcut, the icon in the panel, and the start at login.
class JLPreferencesGeneralViewController final : public JLPreferencesPane {
 public:
  /// `suspendShortcut` lets the registered shortcut go for as long as the token lives.
  explicit JLPreferencesGeneralViewController(std::function<Token()> suspendShortcut);
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

 private:
  void show();

  std::function<Token()> suspendShortcut_;
  PreferencesWindowView* view_ = nullptr;
  LaunchAtLoginController login_;
  std::string loginProblem_;
  std::unique_ptr<ShortcutRecorder> shortcutView_;
  Token icon_;
  Token launch_;
};

}  // namespace jumplark
