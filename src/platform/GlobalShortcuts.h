#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/Token.h"

namespace jumplark {

/// A key with modifiers, as virtual key code and modifier flags.
struct Shortcut {
  int64_t keyCode = 0;
  uint64_t modifierFlags = 0;
  bool operator==(const Shortcut&) const = default;
};

enum class ShortcutState {
  registered,
  taken,      ///< another program owns the combination
  noSuchKey,  ///< the keyboard has no key of that code now
  outOfReach  ///< there is nobody to ask: no display, or none of the service that keeps combinations
};

/// Key combinations that reach this program whatever application has the keyboard, also while a lock key is on and
/// after the keyboard was remapped. Calls come from the main thread.
class GlobalShortcuts {
 public:
  /// Called on the main queue. True when a window of this program is about to take the keyboard: what is typed
  /// meanwhile is then held back for that window, for a quarter of a second at most.
  using Handler = std::function<bool()>;

  struct Registration {
    ShortcutState state = ShortcutState::registered;
    Token token;  ///< ends the registration; empty unless registered
  };

  virtual ~GlobalShortcuts() = default;
  virtual Registration registerShortcut(const Shortcut& shortcut, Handler handler) = 0;
  /// Whether it could be registered now.
  virtual ShortcutState probe(const Shortcut& shortcut) = 0;
  /// As a person reads it, for example "Super+Shift+Space".
  virtual std::string describe(const Shortcut& shortcut) = 0;
};

}  // namespace jumplark
