#include "backends/linux/wayland/gnome/ShellDevices.h"

#include <chrono>
#include <thread>

#include "backends/linux/windows/KeyNames.h"

namespace jumplark::gnome {
namespace {

// As Clutter counts them.
constexpr uint32_t kLeft = 1;
constexpr uint32_t kRight = 3;

}  // namespace

void Pointer::press(Point place, uint32_t button, bool down) {
  const Point at = stage_.toStage(place);
  bus_->call("Button", [=](sd_bus_message* question) {
    return sd_bus_message_append(question, "ddub", at.x, at.y, button, down ? 1 : 0);
  });
}

void Pointer::post(const MouseEvent& event) {
  if (event.type == event_type::leftMouseDown || event.type == event_type::leftMouseUp) {
    press(event.position, kLeft, event.type == event_type::leftMouseDown);
    return;
  }
  bus_->call("Move", [place = stage_.toStage(event.position)](sd_bus_message* question) {
    return sd_bus_message_append(question, "dd", place.x, place.y);
  });
}

void Pointer::clickSecondary(Point place) {
  press(place, kRight, true);
  press(place, kRight, false);
}

void Keyboard::releaseModifiers() {
  constexpr std::chrono::milliseconds kPatience{500};
  constexpr std::chrono::milliseconds kStep{10};
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  int held = 1;
  const Read isHeld = [&held](sd_bus_message* reply) { return sd_bus_message_read(reply, "b", &held); };
  while (bus_->does("AreModifiersHeld", {}, isHeld) && held != 0 && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(kStep);
  }
}

void Keyboard::typeKey(int64_t keyCode) {
  if (const uint32_t symbol = symbolOf(keyCode); symbol != 0) {
    bus_->call("Type", [=](sd_bus_message* question) { return sd_bus_message_append(question, "u", symbol); });
  }
}

}  // namespace jumplark::gnome
