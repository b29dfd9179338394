#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "backends/linux/windows/KeySymbols.h"
#include "backends/linux/x11/X11Connection.h"

struct xkb_keymap;

namespace jumplark {

/// What the keys of the X server's keyboard mean, as it was when read; immutable.
class KeyboardMap {
 public:
  using Key = KeySymbols::Key;

  /// Reads the core keyboard's map; null when the X server has no XKB or has gone.
  static std::shared_ptr<const KeyboardMap> read(const X11Connection& x);

  Key key(uint8_t keycode, uint32_t group) const { return symbols_.key(keycode, group); }
  std::vector<uint8_t> keycodesFor(int64_t code) const { return symbols_.keycodesFor(code); }

  /// Core modifier bits that only mirror a lock (Caps, Num and Scroll Lock), combined in every way, none first: with a
  /// grab for each of them a key counts as unmodified whatever locks are on.
  std::vector<uint16_t> lockCombinations() const;

 private:
  explicit KeyboardMap(xkb_keymap* keymap) : symbols_(keymap) {}
  void readLockModifiers(const X11Connection& x);

  KeySymbols symbols_;
  uint16_t lockModifiers_ = 0;
};

}  // namespace jumplark
