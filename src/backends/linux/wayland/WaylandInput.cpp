#include "backends/linux/wayland/WaylandInput.h"

#include <utility>

#include "backends/linux/wayland/VirtualKeyboard.h"
#include "backends/linux/wayland/VirtualPointer.h"

namespace jumplark {

WaylandInput::WaylandInput(const std::shared_ptr<WaylandConnection>& connection, Compositor& compositor,
                           WaylandScreens& screens)
    : compositor_(compositor),
      screens_(screens),
      taps_(std::make_shared<WaylandTaps>(compositor)),
      pointer_(compositor.makePointer(connection)),
      keyboard_(compositor.makeKeyboard(connection)) {
  if (!pointer_) {
    pointer_ = VirtualPointer::create(connection);
  }
  if (!keyboard_) {
    keyboard_ = VirtualKeyboard::create(connection);
  }
}

std::unique_ptr<EventTapHandle> WaylandInput::createEventTap(const EventTapConfiguration& configuration,
                                                             EventTapCallback callback) {
  return taps_->add(configuration, std::move(callback));
}

void WaylandInput::postMouseEvent(const MouseEvent& event, uint32_t /*location*/) {
  if (!pointer_) {
    return;
  }
  if (event.type == event_type::leftMouseDown) {
    releaseModifiers();
  }
  pointer_->post(event);
  screens_.notePointer(event.position);
}

void WaylandInput::releaseModifiers() {
  if (held_.exchange(0) != 0 && keyboard_) {
    keyboard_->releaseModifiers();
  }
}

void WaylandInput::typeKey(int64_t keyCode) {
  if (keyboard_) {
    keyboard_->typeKey(keyCode);
  }
}

void WaylandInput::clickSecondary(Point place) {
  if (pointer_) {
    releaseModifiers();
    pointer_->clickSecondary(place);
    screens_.notePointer(place);
  }
}

}  // namespace jumplark
