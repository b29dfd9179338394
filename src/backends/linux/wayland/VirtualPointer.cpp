#include "backends/linux/wayland/VirtualPointer.h"

#include <linux/input-event-codes.h>
#include <wayland-client-protocol.h>
#include <wlr-virtual-pointer-unstable-v1-client-protocol.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
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

/// Lets go of the left button when this process dies with it down: a compositor counts it as pressed as long as nobody
/// releases it. The child has a connection and a pointer of its own, and speaks the protocol by itself.
class VirtualPointer::ButtonRelease {
 public:
  static std::unique_ptr<ButtonRelease> create() {
    auto opened = WaylandConnection::open();
    if (!opened.connection || opened.connection->globals().virtualPointers == nullptr) {
      return nullptr;
    }
    opened.connection->outliveCrash();  // the child needs it then
    const WaylandGlobals& globals = opened.connection->globals();
    auto* const pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(globals.virtualPointers, globals.seat);
    // Its number is free again when it has been answered; a number that was never used would have to be the next one.
    wl_callback* const answered = wl_display_sync(opened.connection->display());
    const uint32_t number = wl_proxy_get_id(reinterpret_cast<wl_proxy*>(answered));
    opened.connection->settle();
    auto guard = ExitGuard::start({wl_display_get_fd(opened.connection->display())});
    if (!guard) {
      return nullptr;
    }
    std::unique_ptr<ButtonRelease> result(new ButtonRelease);
    result->pointer_ = pointer;
    result->answered_ = answered;
    result->words_ = releaseOf(wl_proxy_get_id(reinterpret_cast<wl_proxy*>(pointer)), number);
    result->connection_ = std::move(opened.connection);
    result->guard_ = std::move(guard);
    return result;
  }

  ~ButtonRelease() {
    guard_.reset();
    zwlr_virtual_pointer_v1_destroy(pointer_);
    wl_callback_destroy(answered_);
  }

  void setPressed(bool pressed) { guard_->setLastWords(0, pressed ? words_ : std::string()); }

 private:
  /// button(time, code, released), frame and wl_display.sync as they travel: object, size and opcode, arguments.
  static std::string releaseOf(uint32_t pointer, uint32_t callback) {
    constexpr uint32_t kDisplay = 1;
    const auto head = [](uint32_t words, uint32_t opcode) { return ((words * 4) << 16U) | opcode; };
    const std::array<uint32_t, 10> words = {pointer,
                                            head(5, ZWLR_VIRTUAL_POINTER_V1_BUTTON),
                                            now(),
                                            BTN_LEFT,
                                            WL_POINTER_BUTTON_STATE_RELEASED,
                                            pointer,
                                            head(2, ZWLR_VIRTUAL_POINTER_V1_FRAME),
                                            kDisplay,
                                            head(3, WL_DISPLAY_SYNC),
                                            callback};
    return {reinterpret_cast<const char*>(words.data()), sizeof words};
  }

  std::string words_;
  zwlr_virtual_pointer_v1* pointer_ = nullptr;
  wl_callback* answered_ = nullptr;
  std::shared_ptr<WaylandConnection> connection_;  ///< the child's; closing it here would end it
  std::unique_ptr<ExitGuard> guard_;
};

std::unique_ptr<VirtualPointer> VirtualPointer::create(std::shared_ptr<WaylandConnection> connection) {
  const WaylandGlobals& globals = connection->globals();
  if (globals.virtualPointers == nullptr) {
    return nullptr;
  }
  auto* const pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(globals.virtualPointers, globals.seat);
  return std::unique_ptr<VirtualPointer>(new VirtualPointer(std::move(connection), pointer));
}

VirtualPointer::VirtualPointer(std::shared_ptr<WaylandConnection> connection, zwlr_virtual_pointer_v1* pointer)
    : connection_(std::move(connection)), pointer_(pointer), release_(ButtonRelease::create()) {
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
