#include "backends/linux/x11/KeyboardMap.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "backends/linux/windows/KeyNames.h"
#include "backends/linux/x11/Reply.h"
#include "platform/Input.h"

namespace jumplark {
namespace {

using x11::takeReply;

constexpr int kModifierRows = 8;
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

std::shared_ptr<const KeyboardMap> KeyboardMap::read(const X11Connection& x) {
  if (x.extensions().xkb == 0 ||
      xkb_x11_setup_xkb_extension(x.get(), XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                  XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, nullptr, nullptr) == 0) {
    return nullptr;
  }
  const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(
      xkb_context_new(
          static_cast<xkb_context_flags>(XKB_CONTEXT_NO_DEFAULT_INCLUDES | XKB_CONTEXT_NO_ENVIRONMENT_NAMES)),
      xkb_context_unref);
  const int32_t device = xkb_x11_get_core_keyboard_device_id(x.get());
  const std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> keymap(
      context && device >= 0
          ? xkb_x11_keymap_new_from_device(context.get(), x.get(), device, XKB_KEYMAP_COMPILE_NO_FLAGS)
          : nullptr,
      xkb_keymap_unref);
  if (!keymap) {
    return nullptr;
  }
  std::shared_ptr<KeyboardMap> result(new KeyboardMap);
  result->readSymbols(keymap.get());
  result->findFirstLatinGroup(xkb_keymap_num_layouts(keymap.get()));
  result->readLockModifiers(x);
  return result;
}

void KeyboardMap::readSymbols(xkb_keymap* keymap) {
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
}

bool KeyboardMap::isLatin(uint32_t group) const {
  std::set<uint32_t> letters;
  for (const auto& [keycode, symbols] : symbols_) {
    if (const uint32_t symbol = symbols[group % symbols.size()]; isLetter(symbol)) {
      letters.insert(symbol);
    }
  }
  return letters.size() >= kLatinLetters;
}

void KeyboardMap::findFirstLatinGroup(uint32_t groups) {
  for (uint32_t group = 0; group < groups && latinGroup_ < 0; ++group) {
    latinGroup_ = isLatin(group) ? static_cast<int>(group) : -1;
  }
}

void KeyboardMap::readLockModifiers(const X11Connection& x) {
  lockModifiers_ = XCB_MOD_MASK_LOCK;
  const auto mapping = takeReply(x.get(), xcb_get_modifier_mapping_reply, xcb_get_modifier_mapping(x.get()));
  if (!mapping) {
    return;
  }
  const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(mapping.get());
  const int perRow = mapping->keycodes_per_modifier;
  for (int i = 0; i < kModifierRows * perRow; ++i) {
    const auto symbols = symbols_.find(codes[i]);
    const auto isLock = [](uint32_t symbol) { return symbol == XKB_KEY_Num_Lock || symbol == XKB_KEY_Scroll_Lock; };
    if (symbols != symbols_.end() && std::ranges::any_of(symbols->second, isLock)) {
      lockModifiers_ = static_cast<uint16_t>(lockModifiers_ | (1U << static_cast<unsigned>(i / perRow)));
    }
  }
}

KeyboardMap::Key KeyboardMap::key(uint8_t keycode, uint32_t group) const {
  const auto found = symbols_.find(keycode);
  if (found == symbols_.end()) {
    return {key_code::symbolBase, {}, false};
  }
  const Symbols& symbols = found->second;
  uint32_t symbol = symbols[group % symbols.size()];
  if (isForeignCharacter(symbol) && !isLatin(group)) {
    symbol = latinGroup_ >= 0 ? symbols[static_cast<uint32_t>(latinGroup_) % symbols.size()]
                              : letterByPlace(keycode).value_or(symbol);
  }
  const bool isModifier = isModifierSymbol(symbol);
  return {keyCodeOf(symbol), isModifier ? std::string() : characterOf(symbol), isModifier};
}

std::vector<uint8_t> KeyboardMap::keycodesFor(int64_t code) const {
  std::vector<uint8_t> result;
  for (const auto& [keycode, symbols] : symbols_) {
    if (std::ranges::find(symbols, code, keyCodeOf) != symbols.end()) {
      result.push_back(keycode);
    }
  }
  return result;
}

std::vector<uint16_t> KeyboardMap::lockCombinations() const {
  std::vector<uint16_t> result = {0};
  for (unsigned bit = 0; bit < kModifierRows; ++bit) {
    const auto mask = static_cast<uint16_t>(1U << bit);
    if ((lockModifiers_ & mask) == 0) {
      continue;
    }
    const size_t count = result.size();
    for (size_t i = 0; i < count; ++i) {
      result.push_back(static_cast<uint16_t>(result[i] | mask));
    }
  }
  return result;
}

}  // namespace jumplark
