#include "backends/linux/wayland/VirtualKeyboard.h"

#include <sys/mman.h>
#include <unistd.h>
#include <virtual-keyboard-unstable-v1-client-protocol.h>
#include <wayland-client-protocol.h>
#include <xkbcommon/xkbcommon.h>

#include <chrono>
#include <optional>
#include <utility>

#include "backends/linux/system/FileDescriptor.h"
#include "backends/linux/windows/KeyNames.h"

namespace jumplark {
namespace {

/// What xkbcommon adds to the numbers of linux/input-event-codes.h.
constexpr uint32_t kKeycodeOffset = 8;

uint32_t now() {
  return static_cast<uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
          .count());
}

/// The first key that has the code without modifiers in any group.
std::optional<uint32_t> keyFor(const std::string& keymap, int64_t keyCode) {
  const std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> context(xkb_context_new(XKB_CONTEXT_NO_FLAGS),
                                                                           xkb_context_unref);
  const std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> map(
      xkb_keymap_new_from_string(context.get(), keymap.c_str(), XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS),
      xkb_keymap_unref);
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

}  // namespace

std::unique_ptr<VirtualKeyboard> VirtualKeyboard::create(std::shared_ptr<WaylandConnection> connection) {
  const WaylandGlobals& globals = connection->globals();
  if (globals.virtualKeyboards == nullptr || globals.seat == nullptr) {
    return nullptr;
  }
  auto* const keyboard =
      zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(globals.virtualKeyboards, globals.seat);
  return std::unique_ptr<VirtualKeyboard>(new VirtualKeyboard(std::move(connection), keyboard));
}

VirtualKeyboard::VirtualKeyboard(std::shared_ptr<WaylandConnection> connection, zwp_virtual_keyboard_v1* keyboard)
    : connection_(std::move(connection)), keyboard_(keyboard) {}

VirtualKeyboard::~VirtualKeyboard() {
  zwp_virtual_keyboard_v1_destroy(keyboard_);
  connection_->flush();
}

/// The user's, which may have changed. False when there is none.
bool VirtualKeyboard::takeKeymap() {
  const std::string keymap = connection_->keymap();
  if (keymap.empty() || keymap == keymap_) {
    return !keymap.empty();
  }
  const size_t size = keymap.size() + 1;
  const FileDescriptor file(memfd_create("jumplark-keymap", MFD_CLOEXEC));
  if (!file || write(file.get(), keymap.c_str(), size) != static_cast<ssize_t>(size)) {
    return false;
  }
  zwp_virtual_keyboard_v1_keymap(keyboard_, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file.get(), static_cast<uint32_t>(size));
  connection_->flush();
  keymap_ = keymap;
  return true;
}

void VirtualKeyboard::typeKey(int64_t keyCode) {
  const std::lock_guard lock(mutex_);
  const auto key = takeKeymap() ? keyFor(keymap_, keyCode) : std::nullopt;
  if (!key) {
    return;
  }
  // In one write: a process that dies in between leaves nothing pressed.
  zwp_virtual_keyboard_v1_modifiers(keyboard_, 0, 0, 0, 0);
  zwp_virtual_keyboard_v1_key(keyboard_, now(), *key, WL_KEYBOARD_KEY_STATE_PRESSED);
  zwp_virtual_keyboard_v1_key(keyboard_, now(), *key, WL_KEYBOARD_KEY_STATE_RELEASED);
  connection_->settle();
}

void VirtualKeyboard::releaseModifiers() {
  const std::lock_guard lock(mutex_);
  if (takeKeymap()) {
    zwp_virtual_keyboard_v1_modifiers(keyboard_, 0, 0, 0, 0);
    connection_->settle();
  }
}

}  // namespace jumplark
