#pragma once

#include <memory>
#include <mutex>

#include "backends/linux/crash/ExitGuard.h"
#include "backends/linux/wayland/WaylandConnection.h"
#include "platform/Input.h"

struct zwlr_virtual_pointer_v1;

namespace jumplark {

/// A pointer of our own on the compositor's seat. Make it early: a seat that has no other one tells applications of it
/// only after a while, and what is clicked before is lost. Calls may come from any thread and return when the
/// compositor has processed the event, or half a second later.
class VirtualPointer {
 public:
  /// Null where the compositor offers none.
  static std::unique_ptr<VirtualPointer> create(std::shared_ptr<WaylandConnection> connection);
  VirtualPointer(const VirtualPointer&) = delete;
  VirtualPointer& operator=(const VirtualPointer&) = delete;
  ~VirtualPointer();

  /// Moves the pointer to the position, in points of the layout; for the button events then presses or releases the
  /// left button.
  void post(const MouseEvent& event);
  /// Moves the pointer there, and presses and releases the button that opens menus.
  void clickSecondary(Point place);

 private:
  class ButtonRelease;
  VirtualPointer(std::shared_ptr<WaylandConnection> connection, zwlr_virtual_pointer_v1* pointer);

  void moveTo(Point place);
  void press(uint32_t button, bool down);

  std::shared_ptr<WaylandConnection> connection_;
  zwlr_virtual_pointer_v1* pointer_;
  std::unique_ptr<ButtonRelease> release_;  ///< null where there can be none
  std::mutex mutex_;
};

}  // namespace jumplark
