#include "backends/linux/x11/HeldModifiers.h"

#include <algorithm>

#include "backends/linux/x11/Reply.h"

namespace jumplark::x11 {
namespace {

constexpr int kModifierRows = 8;

bool isLockSymbol(xcb_keysym_t symbol) {
  constexpr xcb_keysym_t scrollLock = 0xFF14, numLock = 0xFF7F, capsLock = 0xFFE5, shiftLock = 0xFFE6;
  return symbol == scrollLock || symbol == numLock || symbol == capsLock || symbol == shiftLock;
}

bool isLockKey(const X11Connection& x, uint8_t keycode) {
  const auto map = takeReply(x.get(), xcb_get_keyboard_mapping_reply, xcb_get_keyboard_mapping(x.get(), keycode, 1));
  if (!map) {
    return false;
  }
  const xcb_keysym_t* symbols = xcb_get_keyboard_mapping_keysyms(map.get());
  return std::any_of(symbols, symbols + xcb_get_keyboard_mapping_keysyms_length(map.get()), isLockSymbol);
}

}  // namespace

std::vector<uint8_t> heldModifierKeys(const X11Connection& x) {
  return takeHeldModifiers(x, askHeldModifiers(x));
}

HeldModifierQuestions askHeldModifiers(const X11Connection& x) {
  return {xcb_query_keymap(x.get()), xcb_get_modifier_mapping(x.get())};
}

std::vector<uint8_t> takeHeldModifiers(const X11Connection& x, const HeldModifierQuestions& questions) {
  const auto keymap = takeReply(x.get(), xcb_query_keymap_reply, questions.keymap);
  const auto mapping = takeReply(x.get(), xcb_get_modifier_mapping_reply, questions.mapping);
  std::vector<uint8_t> result;
  if (!keymap || !mapping) {
    return result;
  }
  const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(mapping.get());
  const int perRow = mapping->keycodes_per_modifier;
  for (int i = 0; i < kModifierRows * perRow; ++i) {
    const uint8_t code = codes[i];
    const bool isDown = (keymap->keys[code / 8] >> (code % 8U)) & 1U;
    const bool isListed = std::ranges::find(result, code) != result.end();
    if (i / perRow != XCB_MAP_INDEX_LOCK && code != 0 && isDown && !isListed && !isLockKey(x, code)) {
      result.push_back(code);
    }
  }
  return result;
}

}  // namespace jumplark::x11
