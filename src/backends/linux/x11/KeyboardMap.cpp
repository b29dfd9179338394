#include "backends/linux/x11/KeyboardMap.h"

#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include "backends/linux/x11/Reply.h"

namespace jumplark {
namespace {

using x11::takeReply;

constexpr int kModifierRows = 8;
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
  std::shared_ptr<KeyboardMap> result(new KeyboardMap(keymap.get()));
  result->readLockModifiers(x);
  return result;
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
    if (symbols_.isLock(codes[i])) {
      lockModifiers_ = static_cast<uint16_t>(lockModifiers_ | (1U << static_cast<unsigned>(i / perRow)));
    }
  }
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
