#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "backends/linux/wayland/SeatDevices.h"
#include "backends/linux/wayland/WaylandConnection.h"

struct zwp_virtual_keyboard_v1;

namespace jumplark {

/// By zwp_virtual_keyboard_v1, which several compositors offer. It has the user's keymap: applications notice no other
/// one.
class VirtualKeyboard final : public SeatKeyboard {
 public:
  /// Null where the compositor offers none.
  static std::unique_ptr<VirtualKeyboard> create(std::shared_ptr<WaylandConnection> connection);
  VirtualKeyboard(const VirtualKeyboard&) = delete;
  VirtualKeyboard& operator=(const VirtualKeyboard&) = delete;
  ~VirtualKeyboard() override;

  void typeKey(int64_t keyCode) override;
  void releaseModifiers() override;

 private:
  VirtualKeyboard(std::shared_ptr<WaylandConnection> connection, zwp_virtual_keyboard_v1* keyboard);
  bool takeKeymap();

  std::shared_ptr<WaylandConnection> connection_;
  zwp_virtual_keyboard_v1* keyboard_;
  std::mutex mutex_;
  std::string keymap_;  ///< that the compositor was given
};

}  // namespace jumplark
