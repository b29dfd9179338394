#include "backends/linux/wayland/VirtualKeyboard.h"

#include <sys/mman.h>
#include <unistd.h>
#include <virtual-keyboard-unstable-v1-client-protocol.h>
#include <wayland-client-protocol.h>

#include <chrono>
#include <optional>
#include <utility>

#include "backends/linux/system/FileDescriptor.h"
#include "backends/linux/wayland/KeymapText.h"

namespace jumplark {
namespace {

uint32_t now() {
  return static_cast<uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
          .count());
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
  const auto key = takeKeymap() ? keyOfCode(keymap_, keyCode) : std::nullopt;
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
