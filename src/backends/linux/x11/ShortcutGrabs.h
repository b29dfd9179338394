#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/x11/KeyboardMap.h"
#include "backends/linux/x11/X11Connection.h"
#include "platform/GlobalShortcuts.h"

namespace jumplark {

/// The passive grabs of key combinations on the root window, each in every combination of the lock keys and on every
/// key that carries the symbol in any layout. A press that fires one freezes the keyboard until the owner of the
/// connection allows events. Every operation waits for the X server; not safe for several threads at once.
class ShortcutGrabs {
 public:
  ShortcutGrabs(std::shared_ptr<X11Connection> connection, std::shared_ptr<const KeyboardMap> map);

  /// Grabs all combinations of the shortcut or none. `id` is the caller's name for it.
  ShortcutState add(uint64_t id, const Shortcut& shortcut);
  void remove(uint64_t id);
  /// What add would answer; `registered` also for a shortcut that is.
  ShortcutState probe(const Shortcut& shortcut);
  /// Follows a changed keyboard. What another client owns on it is left out.
  void setMap(std::shared_ptr<const KeyboardMap> map);

  /// The shortcut that a key with these modifiers (the low byte of an event's state) belongs to.
  std::optional<uint64_t> find(uint8_t keycode, uint16_t state) const;
  /// True for modifiers with which a key is a shortcut.
  bool needs(uint16_t state) const;
  const KeyboardMap& map() const { return *map_; }

 private:
  using Combination = std::pair<uint8_t, uint16_t>;  ///< keycode and the exact core modifiers
  struct Owned {
    uint64_t id;
    Shortcut shortcut;
    std::vector<Combination> combinations;
  };

  std::vector<Combination> combinationsOf(const Shortcut& shortcut) const;
  bool isOwned(const Combination& combination) const;
  std::vector<Combination> grab(const std::vector<Combination>& combinations);
  void ungrab(const std::vector<Combination>& combinations);
  ShortcutState tryGrab(const std::vector<Combination>& combinations);

  std::shared_ptr<X11Connection> x_;
  std::shared_ptr<const KeyboardMap> map_;
  std::vector<Owned> owned_;
};

}  // namespace jumplark
