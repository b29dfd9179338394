#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace jumplark {

/// What a key of the keyboard means without modifiers.
struct KeyMeaning {
  int64_t code = 0;        ///< virtual key code, see key_code in platform/Input.h
  std::string characters;  ///< UTF-8; empty for keys that type nothing; a Latin letter also on a layout that has none
  bool isModifier = false;
};

/// The keyboard's map, as it is now. Main thread only.
class KeyMeanings {
 public:
  virtual ~KeyMeanings() = default;
  /// Of a key event with that keycode and that state (the native ones of a QKeyEvent); none when the map is not known
  /// or has no such key.
  virtual std::optional<KeyMeaning> meaningOf(uint32_t keycode, uint32_t state) = 0;
};

}  // namespace jumplark
