#include "backends/linux/windows/KeySymbols.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "backends/linux/windows/KeyNames.h"
#include "platform/Input.h"

namespace jumplark {
namespace {

/// A layout that has this many of the letters a to z without modifiers is a Latin one.
constexpr size_t kLatinLetters = 20;

bool isModifierSymbol(uint32_t symbol) {
  return (symbol >= XKB_KEY_Shift_L && symbol <= XKB_KEY_Hyper_R) ||
         (symbol >= XKB_KEY_ISO_Lock && symbol <= XKB_KEY_ISO_Level5_Lock) || symbol == XKB_KEY_Mode_switch ||
         symbol == XKB_KEY_Num_Lock || symbol == XKB_KEY_Scroll_Lock;
}

bool isLetter(uint32_t symbol) {
  return symbol >= XKB_KEY_a && symbol <= XKB_KEY_z;
}

// Characters outside ASCII; function keys and the like stand in the ranges FD00 to FFFF.
bool isForeignCharacter(uint32_t symbol) {
  return symbol > XKB_KEY_asciitilde && (symbol < 0xFD00 || symbol > 0xFFFF);
}

std::string characterOf(uint32_t symbol) {
  std::array<char, 8> buffer{};
  const int size = xkb_keysym_to_utf8(symbol, buffer.data(), buffer.size());
  return size > 1 ? std::string(buffer.data()) : std::string();
}

/// What the key has printed on it beside its own letter on keyboards of all non-Latin layouts: the letter of the US
/// layout. Keycodes are those of the evdev rules, rows of which are without gaps.
std::optional<uint32_t> letterByPlace(uint8_t keycode) {
  constexpr std::pair<uint8_t, std::string_view> kRows[] = {{24, "qwertyuiop"}, {38, "asdfghjkl"}, {52, "zxcvbnm"}};
  for (const auto& [first, letters] : kRows) {
    if (keycode >= first && keycode < first + letters.size()) {
      return static_cast<uint32_t>(letters[keycode - first]);  // keysyms of ASCII characters are their codes
    }
  }
  return std::nullopt;
}

}  // namespace

KeySymbols::KeySymbols(xkb_keymap* keymap) {
  const xkb_keycode_t last = std::min<xkb_keycode_t>(xkb_keymap_max_keycode(keymap), 255);
  for (xkb_keycode_t keycode = xkb_keymap_min_keycode(keymap); keycode <= last; ++keycode) {
    Symbols symbols;
    for (xkb_layout_index_t group = 0; group < xkb_keymap_num_layouts_for_key(keymap, keycode); ++group) {
      const xkb_keysym_t* found = nullptr;
      const int count = xkb_keymap_key_get_syms_by_level(keymap, keycode, group, 0, &found);
      symbols.push_back(count > 0 ? found[0] : XKB_KEY_NoSymbol);
    }
    if (!symbols.empty()) {
      symbols_.emplace(static_cast<uint8_t>(keycode), std::move(symbols));
    }
  }
  const xkb_layout_index_t groups = xkb_keymap_num_layouts(keymap);
  for (uint32_t group = 0; group < groups && latinGroup_ < 0; ++group) {
    latinGroup_ = isLatin(group) ? static_cast<int>(group) : -1;
  }
}

bool KeySymbols::isLatin(uint32_t group) const {
  std::set<uint32_t> letters;
  for (const auto& [keycode, symbols] : symbols_) {
    if (const uint32_t symbol = symbols[group % symbols.size()]; isLetter(symbol)) {
      letters.insert(symbol);
    }
  }
  return letters.size() >= kLatinLetters;
}

KeySymbols::Key KeySymbols::key(uint32_t keycode, uint32_t group) const {
  const auto found = keycode <= 255 ? symbols_.find(static_cast<uint8_t>(keycode)) : symbols_.end();
  if (found == symbols_.end()) {
    return {key_code::symbolBase, {}, false};
  }
  const Symbols& symbols = found->second;
  uint32_t symbol = symbols[group % symbols.size()];
  if (isForeignCharacter(symbol) && !isLatin(group)) {
    symbol = latinGroup_ >= 0 ? symbols[static_cast<uint32_t>(latinGroup_) % symbols.size()]
                              : letterByPlace(found->first).value_or(symbol);
  }
  const bool isModifier = isModifierSymbol(symbol);
  return {keyCodeOf(symbol), isModifier ? std::string() : characterOf(symbol), isModifier};
}

std::vector<uint8_t> KeySymbols::keycodesFor(int64_t code) const {
  std::vector<uint8_t> result;
  for (const auto& [keycode, symbols] : symbols_) {
    if (std::ranges::find(symbols, code, keyCodeOf) != symbols.end()) {
      result.push_back(keycode);
    }
  }
  return result;
}

bool KeySymbols::isLock(uint32_t keycode) const {
  const auto found = keycode <= 255 ? symbols_.find(static_cast<uint8_t>(keycode)) : symbols_.end();
  return found != symbols_.end() && std::ranges::any_of(found->second, [](uint32_t symbol) {
           return symbol == XKB_KEY_Num_Lock || symbol == XKB_KEY_Scroll_Lock;
         });
}

}  // namespace jumplark
