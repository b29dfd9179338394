#pragma once

#include <memory>
#include <mutex>

#include "backends/linux/wayland/ButtonGuard.h"
#include "backends/linux/wayland/SeatDevices.h"
#include "backends/linux/wayland/WaylandConnection.h"

struct zwlr_virtual_pointer_v1;

namespace jumplark {

/// By zwlr_virtual_pointer_v1, which several compositors offer.
class VirtualPointer final : public SeatPointer {
 public:
  /// Null where the compositor offers none.
  static std::unique_ptr<VirtualPointer> create(std::shared_ptr<WaylandConnection> connection);
  VirtualPointer(const VirtualPointer&) = delete;
  VirtualPointer& operator=(const VirtualPointer&) = delete;
  ~VirtualPointer() override;

  void post(const MouseEvent& event) override;
  void clickSecondary(Point place) override;

 private:
  VirtualPointer(std::shared_ptr<WaylandConnection> connection, zwlr_virtual_pointer_v1* pointer);

  void moveTo(Point place);
  void press(uint32_t button, bool down);

  std::shared_ptr<WaylandConnection> connection_;
  zwlr_virtual_pointer_v1* pointer_;
  std::unique_ptr<ButtonGuard> release_;  ///< null where there can be none
  std::mutex mutex_;
};

}  // namespace jumplark
