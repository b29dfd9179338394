#pragma once

#include <functional>
#include <memory>

#include "app/JLShortcutBinding.h"

namespace jumplark {

/// Gives the user's settings their defaults and makes the activation shortcut work. Main thread only.
class JLPreferencesController {
 public:
  static constexpr const char* activationShortcutKey = "ActivationShortcut";

  /// `activationShortcutPressed` toggles the query window and answers whether it is about to take the keyboard. The
  /// first controller of the process becomes the shared one, until its end.
  explicit JLPreferencesController(std::function<bool()> activationShortcutPressed);
  JLPreferencesController(const JLPreferencesController&) = delete;
  JLPreferencesController& operator=(const JLPreferencesController&) = delete;
  ~JLPreferencesController();

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

 private:
  std::function<bool()> activationShortcutPressed_;
  bool isRegistered_ = false;
  std::unique_ptr<JLShortcutBinding> binding_;
};

}  // namespace jumplark
