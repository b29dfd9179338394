#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "backends/linux/x11/X11Connection.h"

struct xkb_keymap;

namespace jumplark {

/// What the keys of the keyboard mean, as it was when read; immutable. Keycodes are X's, groups count from 0.
class KeyboardMap {
 public:
  struct Key {
    int64_t code = 0;        ///< virtual key code, see key_code in platform/Input.h
    std::string characters;  ///< UTF-8, without any modifier; empty for keys that type nothing
    bool isModifier = false;
  };

  /// Reads the core keyboard's map; null when the X server has no XKB or has gone.
  static std::shared_ptr<const KeyboardMap> read(const X11Connection& x);

  /// The key's meaning without modifiers. Where the group is not a Latin one, symbols outside ASCII are replaced by
  /// what the first Latin group has on that key; without such a group, letters by the US letter of the key's place.
  Key key(uint8_t keycode, uint32_t group) const;
  /// Every key that has this virtual key code in any group.
  std::vector<uint8_t> keycodesFor(int64_t code) const;

  /// Core modifier bits that only mirror a lock (Caps, Num and Scroll Lock), combined in every way, none first: with a
  /// grab for each of them a key counts as unmodified whatever locks are on.
  std::vector<uint16_t> lockCombinations() const;

 private:
  using Symbols = std::vector<uint32_t>;  ///< of one key at level 0, one a group

  KeyboardMap() = default;
  void readSymbols(xkb_keymap* keymap);
  void findFirstLatinGroup(uint32_t groups);
  void readLockModifiers(const X11Connection& x);
  bool isLatin(uint32_t group) const;

  std::map<uint8_t, Symbols> symbols_;
  int latinGroup_ = -1;
  uint16_t lockModifiers_ = 0;
};

}  // namespace jumplark
