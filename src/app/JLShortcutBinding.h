#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/Defaults.h"
#include "platform/GlobalShortcuts.h"
#include "platform/Token.h"

namespace jumplark {

/// Keeps the global shortcut that a user default names registered, whoever changes that default and while this object
/// lives. Main thread only.
///
/// Where another program owns the combination, or the keyboard has no such key, the user is told once, with the key's
/// name, and offered one that is free; taking the offer stores it. Until the default changes, the combination is tried
/// again every few seconds, so it comes to work when the other program gives it up (nothing announces that), or when
/// whoever keeps combinations for programs comes to be there.
class JLShortcutBinding {
 public:
  /// Called on the main queue at each press; see GlobalShortcuts::Handler.
  using Handler = GlobalShortcuts::Handler;

  JLShortcutBinding(std::string defaultsKey, Handler handler);
  JLShortcutBinding(const JLShortcutBinding&) = delete;
  JLShortcutBinding& operator=(const JLShortcutBinding&) = delete;
  ~JLShortcutBinding();

  /// What is registered now.
  std::optional<Shortcut> registeredShortcut() const;

  /// Lets the shortcut go while the token lives, so that it can be typed like any other key. One at a time.
  Token suspend();

 private:
  void follow(const DefaultsValue& record);
  void tryToRegister();
  void tryAgainLater();
  void tellUser(ShortcutState state);
  void userChose(const std::optional<Shortcut>& offered, int button);
  static std::optional<Shortcut> freeShortcut();

  std::string defaultsKey_;
  Handler handler_;
  std::shared_ptr<JLShortcutBinding*> self_;  ///< for calls that may come after the end
  std::optional<Shortcut> wanted_;
  Token registration_;
  uint64_t round_ = 0;                 ///< grows with each change of what is wanted
  std::optional<Shortcut> toldFor_;    ///< the user knows that this one does not work
  std::optional<Shortcut> loggedFor_;  ///< the log says that there is nobody to ask about this one
  bool isTelling_ = false;
  bool isSuspended_ = false;
  Token observation_;
};

}  // namespace jumplark
