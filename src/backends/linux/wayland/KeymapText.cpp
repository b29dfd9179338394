#include "backends/linux/wayland/KeymapText.h"

#include <xkbcommon/xkbcommon.h>

#include <memory>

#include "backends/linux/windows/KeyNames.h"

namespace jumplark {
namespace {

/// What xkbcommon adds to the numbers of linux/input-event-codes.h.
constexpr uint32_t kKeycodeOffset = 8;

std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> parsed(const std::string& keymap) {
  const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(xkb_context_new(XKB_CONTEXT_NO_FLAGS),
                                                                           xkb_context_unref);
  return {
      xkb_keymap_new_from_string(context.get(), keymap.c_str(), XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS),
      xkb_keymap_unref};
}

}  // namespace

std::optional<uint32_t> keyOfCode(const std::string& keymap, int64_t keyCode) {
  const auto map = parsed(keymap);
  if (!map) {
    return std::nullopt;
  }
  for (xkb_keycode_t key = xkb_keymap_min_keycode(map.get()); key <= xkb_keymap_max_keycode(map.get()); ++key) {
    for (xkb_layout_index_t group = 0; group < xkb_keymap_num_layouts_for_key(map.get(), key); ++group) {
      const xkb_keysym_t* symbols = nullptr;
      const int count = xkb_keymap_key_get_syms_by_level(map.get(), key, group, 0, &symbols);
      if (count == 1 && keyCodeOf(symbols[0]) == keyCode && key >= kKeycodeOffset) {
        return key - kKeycodeOffset;
      }
    }
  }
  return std::nullopt;
}

std::vector<std::string> groupsOf(const std::string& keymap) {
  const auto map = parsed(keymap);
  std::vector<std::string> names;
  for (xkb_layout_index_t group = 0; map && group < xkb_keymap_num_layouts(map.get()); ++group) {
    const char* const name = xkb_keymap_layout_get_name(map.get(), group);
    names.emplace_back(name != nullptr ? name : "");
  }
  return names;
}

}  // namespace jumplark
