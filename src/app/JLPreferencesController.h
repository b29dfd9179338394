#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/JLPreferencesWindowController.h"
#include "app/JLShortcutBinding.h"
#include "app/ProductAddresses.h"
#include "platform/GlobalShortcuts.h"
#include "platform/Input.h"
#include "query/engine/PreferencesWindow.h"

namespace jumplark {

/// Gives the user's settings their defaults, makes the activation shortcut work, and owns the preferences window. Main
/// thread only.
class JLPreferencesController final : public PreferencesWindow {
 public:
  static constexpr const char* activationShortcutKey = "ActivationShortcut";
  static constexpr Shortcut standardShortcut{key_code::space, modifier_flag::command | modifier_flag::shift};

  struct Context {
    ProductAddresses addresses;
    bool hasCollector = false;
    std::function<void()> terminate;  ///< ends the program
  };

  /// `activationShortcutPressed` toggles the query window and answers whether it is about to take the keyboard. The
  /// first controller of the process becomes the shared one, until its end.
  explicit JLPreferencesController(std::function<bool()> activationShortcutPressed);
  JLPreferencesController(std::function<bool()> activationShortcutPressed, Context context);
  JLPreferencesController(const JLPreferencesController&) = delete;
  JLPreferencesController& operator=(const JLPreferencesController&) = delete;
  ~JLPreferencesController() override;

  /// The one that start-up made; std::logic_error before.
  static JLPreferencesController& sharedInstance();

  /// Once, at start-up: setupUserDefaults, bindToUserDefaults and registerShortcut, in this order.
  void setupPreferences();
  void setupUserDefaults();
  /// Nothing is bound here: whoever uses a setting observes it.
  void bindToUserDefaults() {}

  /// Stores the default, Super+Shift+Space, where no shortcut is set, and registers what is set; from then on the
  /// registration follows the setting. Called again it unregisters for good.
  void registerShortcut();
  /// Whether the settings hold a shortcut.
  bool hasShortcutSet() const;
  /// The shortcut that works now.
  std::optional<Shortcut> registeredShortcut() const;

  /// Shows the window, which is made the first time. Where it cannot be made the user is told, and the program ends.
  void showPreferencesWindow() override;
  void hidePreferencesWindow() override;
  /// Shows the window with the pane of this identifier, or with the one it was left on when there is no such pane, in
  /// front of other programs.
  void showPreferencesPaneWithTitle(const std::string& identifier);

  /// Null before the first showPreferencesWindow().
  JLPreferencesWindowController* preferencesWindowController() const { return windowController_.get(); }
  /// The window of preferencesWindowController(), or null.
  PreferencesWindowView* window() const;

 private:
  void makeWindowController();
  void tellThatProgramMoved();

  std::function<bool()> activationShortcutPressed_;
  const Context context_;
  bool isRegistered_ = false;
  std::unique_ptr<JLShortcutBinding> binding_;
  std::unique_ptr<JLPreferencesWindowController> windowController_;
};

}  // namespace jumplark
