#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/AppViews.h"
#include "platform/Token.h"

namespace jumplark {

/// The icon in the panel and its menu. It is there exactly while the setting "ShowMenuBarIcon" is on, whoever changes
/// that. Where the desktop shows no such icons the user is told once, ever, how to reach the preferences instead. Main
/// thread only.
class JLStatusItemController {
 public:
  static constexpr const char* showIconKey = "ShowMenuBarIcon";

  struct Actions {
    std::function<void()> openQueryWindow;  ///< over the application that was in front when the menu opened
    std::function<void()> checkForUpdates;  ///< null in a build that cannot; then the menu does not offer it
    std::function<void()> quit;
  };

  explicit JLStatusItemController(Actions actions);
  JLStatusItemController(const JLStatusItemController&) = delete;
  JLStatusItemController& operator=(const JLStatusItemController&) = delete;
  ~JLStatusItemController();

  /// Null while the icon is hidden.
  StatusItemView* statusItem() const { return statusItem_.get(); }

  void bindToDefaults();
  void setupStatusItem();
  void setupMenu();
  void removeStatusItem();

  void openQueryWindow();
  void showAbout();
  void showHelp();
  void checkForUpdates();
  void showPreferences();
  void showUsage();
  void quit();

 private:
  void follow(bool shows);
  void tellWhenThereIsNoStatusBar();

  const Actions actions_;
  std::shared_ptr<JLStatusItemController*> self_;  ///< for what comes after the end
  std::unique_ptr<StatusItemView> statusItem_;
  Token observation_;
  Token shortcut_;
};

}  // namespace jumplark
