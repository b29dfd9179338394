#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "backends/linux/wayland/WaylandConnection.h"

struct zwp_virtual_keyboard_v1;

namespace jumplark {

/// A keyboard of our own on the compositor's seat, which has the user's keymap: applications notice no other one.
/// Calls may come from any thread and return when the compositor has processed the key, or half a second later.
class VirtualKeyboard {
 public:
  /// Null where the compositor offers none.
  static std::unique_ptr<VirtualKeyboard> create(std::shared_ptr<WaylandConnection> connection);
  VirtualKeyboard(const VirtualKeyboard&) = delete;
  VirtualKeyboard& operator=(const VirtualKeyboard&) = delete;
  ~VirtualKeyboard();

  /// Presses and releases a key without modifiers, by its virtual key code. Does nothing where the keymap has no such
  /// key.
  void typeKey(int64_t keyCode);
  /// Tells applications that no modifier is held, until the user's keyboard tells otherwise at its next key.
  void releaseModifiers();

 private:
  VirtualKeyboard(std::shared_ptr<WaylandConnection> connection, zwp_virtual_keyboard_v1* keyboard);
  bool takeKeymap();

  std::shared_ptr<WaylandConnection> connection_;
  zwp_virtual_keyboard_v1* keyboard_;
  std::mutex mutex_;
  std::string keymap_;  ///< that the compositor was given
};

}  // namespace jumplark
