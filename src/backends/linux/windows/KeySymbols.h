#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct xkb_keymap;

namespace jumplark {

/// What the keys of a keyboard mean without modifiers; immutable. Keycodes are XKB's, groups count from 0.
class KeySymbols {
 public:
  struct Key {
    int64_t code = 0;        ///< virtual key code, see key_code in platform/Input.h
    std::string characters;  ///< UTF-8, without any modifier; empty for keys that type nothing
    bool isModifier = false;
  };

  /// Keys beyond keycode 255 are left out.
  explicit KeySymbols(xkb_keymap* keymap);

  /// The key's meaning without modifiers. Where the group is not a Latin one, symbols outside ASCII are replaced by
  /// what the first Latin group has on that key; without such a group, letters by the US letter of the key's place.
  Key key(uint32_t keycode, uint32_t group) const;
  /// Every key that has this virtual key code in any group.
  std::vector<uint8_t> keycodesFor(int64_t code) const;
  /// The key is Num Lock or Scroll Lock in one of the groups.
  bool isLock(uint32_t keycode) const;

 private:
  using Symbols = std::vector<uint32_t>;  ///< of one key at level 0, one a group

  bool isLatin(uint32_t group) const;

  std::map<uint8_t, Symbols> symbols_;
  int latinGroup_ = -1;
};

}  // namespace jumplark
