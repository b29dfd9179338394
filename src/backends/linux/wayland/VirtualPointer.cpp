#include "backends/linux/wayland/VirtualPointer.h"

#include <linux/input-event-codes.h>
#include <wayland-client-protocol.h>
#include <wlr-virtual-pointer-unstable-v1-client-protocol.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace jumplark {
namespace {

/// The protocol counts in whole numbers: a point is divided so finely.
constexpr double kStepsPerPoint = 16;

uint32_t now() {
  return static_cast<uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
          .count());
}

ButtonGuard::Pointer pointerOfGuard(WaylandConnection& connection) {
  const WaylandGlobals& globals = connection.globals();
  if (globals.virtualPointers == nullptr) {
    return {};
  }
  auto* const pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(globals.virtualPointers, globals.seat);
  const uint32_t id = wl_proxy_get_id(reinterpret_cast<wl_proxy*>(pointer));
  return {Token([pointer] { zwlr_virtual_pointer_v1_destroy(pointer); }),
          waylandRequest(id, ZWLR_VIRTUAL_POINTER_V1_BUTTON, {now(), BTN_LEFT, WL_POINTER_BUTTON_STATE_RELEASED}) +
              waylandRequest(id, ZWLR_VIRTUAL_POINTER_V1_FRAME, {})};
}

/// What holds all outputs.
Rect layoutOf(const std::vector<WaylandOutput>& outputs) {
  if (outputs.empty()) {
    return {};
  }
  double left = outputs.front().frame.minX();
  double top = outputs.front().frame.minY();
  double right = outputs.front().frame.maxX();
  double bottom = outputs.front().frame.maxY();
  for (const WaylandOutput& output : outputs) {
    left = std::min(left, output.frame.minX());
    top = std::min(top, output.frame.minY());
    right = std::max(right, output.frame.maxX());
    bottom = std::max(bottom, output.frame.maxY());
  }
  return {left, top, right - left, bottom - top};
}

}  // namespace

std::unique_ptr<VirtualPointer> VirtualPointer::create(std::shared_ptr<WaylandConnection> connection) {
  const WaylandGlobals& globals = connection->globals();
  if (globals.virtualPointers == nullptr) {
    return nullptr;
  }
  auto* const pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(globals.virtualPointers, globals.seat);
  return std::unique_ptr<VirtualPointer>(new VirtualPointer(std::move(connection), pointer));
}

VirtualPointer::VirtualPointer(std::shared_ptr<WaylandConnection> connection, zwlr_virtual_pointer_v1* pointer)
    : connection_(std::move(connection)), pointer_(pointer), release_(ButtonGuard::create(pointerOfGuard)) {
  connection_->flush();
}

VirtualPointer::~VirtualPointer() {
  zwlr_virtual_pointer_v1_destroy(pointer_);
  connection_->flush();
}

void VirtualPointer::moveTo(Point place) {
  const Rect layout = layoutOf(connection_->outputs());
  const auto steps = [](double value, double most) {
    return static_cast<uint32_t>(std::lround(std::clamp(value, 0.0, std::max(0.0, most)) * kStepsPerPoint));
  };
  // Into the middle of the step, so that rounding does not lead to the point before.
  const double half = 0.5 / kStepsPerPoint;
  zwlr_virtual_pointer_v1_motion_absolute(pointer_, now(), steps(place.x - layout.x + half, layout.width),
                                          steps(place.y - layout.y + half, layout.height),
                                          steps(layout.width, layout.width), steps(layout.height, layout.height));
  zwlr_virtual_pointer_v1_frame(pointer_);
}

void VirtualPointer::press(uint32_t button, bool down) {
  zwlr_virtual_pointer_v1_button(pointer_, now(), button,
                                 down ? WL_POINTER_BUTTON_STATE_PRESSED : WL_POINTER_BUTTON_STATE_RELEASED);
  zwlr_virtual_pointer_v1_frame(pointer_);
}

void VirtualPointer::post(const MouseEvent& event) {
  const std::lock_guard lock(mutex_);
  const bool down = event.type == event_type::leftMouseDown;
  const bool up = event.type == event_type::leftMouseUp;
  moveTo(event.position);
  if (down && release_) {
    release_->setPressed(true);
  }
  if (down || up) {
    press(BTN_LEFT, down);
  }
  connection_->settle();
  if (up && release_) {
    release_->setPressed(false);
  }
}

void VirtualPointer::clickSecondary(Point place) {
  const std::lock_guard lock(mutex_);
  moveTo(place);
  // Both in one write: nothing can come between them.
  press(BTN_RIGHT, true);
  press(BTN_RIGHT, false);
  connection_->settle();
}

}  // namespace jumplark
