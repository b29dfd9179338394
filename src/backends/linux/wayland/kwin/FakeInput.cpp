#include "backends/linux/wayland/kwin/FakeInput.h"

#include <fake-input-client-protocol.h>
#include <linux/input-event-codes.h>
#include <wayland-client-protocol.h>

#include <utility>

#include "backends/linux/wayland/KeymapText.h"

namespace jumplark::kwin {
namespace {

void introduce(org_kde_kwin_fake_input* device) {
  org_kde_kwin_fake_input_authenticate(device, "Jumplark", "clicks what its user chooses");
}

ButtonGuard::Pointer pointerOfGuard(WaylandConnection& connection) {
  auto* const device = connection.globals().fakeInput;
  if (device == nullptr) {
    return {};
  }
  introduce(device);
  const uint32_t id = wl_proxy_get_id(reinterpret_cast<wl_proxy*>(device));
  return {Token([] {}),  // the connection's
          waylandRequest(id, ORG_KDE_KWIN_FAKE_INPUT_BUTTON, {BTN_LEFT, WL_POINTER_BUTTON_STATE_RELEASED})};
}

}  // namespace

std::unique_ptr<FakePointer> FakePointer::create(const std::shared_ptr<WaylandConnection>& connection) {
  if (connection->globals().fakeInput == nullptr) {
    return nullptr;
  }
  return std::unique_ptr<FakePointer>(new FakePointer(connection));
}

/// KWin 6 takes each connection for a device, and lets none release what another one has pressed: what is pressed here
/// is pressed with the guard's.
FakePointer::FakePointer(const std::shared_ptr<WaylandConnection>& connection)
    : guard_(ButtonGuard::create(pointerOfGuard)), connection_(guard_ ? guard_->connection() : connection) {
  introduce(connection_->globals().fakeInput);
  connection_->flush();
}

void FakePointer::moveTo(Point place) {
  org_kde_kwin_fake_input_pointer_motion_absolute(connection_->globals().fakeInput, wl_fixed_from_double(place.x),
                                                  wl_fixed_from_double(place.y));
}

void FakePointer::post(const MouseEvent& event) {
  const std::lock_guard lock(mutex_);
  const bool down = event.type == event_type::leftMouseDown;
  const bool up = event.type == event_type::leftMouseUp;
  moveTo(event.position);
  if (down && guard_) {
    guard_->setPressed(true);
  }
  if (down || up) {
    org_kde_kwin_fake_input_button(connection_->globals().fakeInput, BTN_LEFT,
                                   down ? WL_POINTER_BUTTON_STATE_PRESSED : WL_POINTER_BUTTON_STATE_RELEASED);
  }
  connection_->settle();
  if (up && guard_) {
    guard_->setPressed(false);
  }
}

void FakePointer::clickSecondary(Point place) {
  const std::lock_guard lock(mutex_);
  moveTo(place);
  // Both in one write: nothing can come between them.
  for (const auto state : {WL_POINTER_BUTTON_STATE_PRESSED, WL_POINTER_BUTTON_STATE_RELEASED}) {
    org_kde_kwin_fake_input_button(connection_->globals().fakeInput, BTN_RIGHT, state);
  }
  connection_->settle();
}

std::unique_ptr<FakeKeyboard> FakeKeyboard::create(std::shared_ptr<WaylandConnection> connection) {
  auto* const device = connection->globals().fakeInput;
  if (device == nullptr ||
      wl_proxy_get_version(reinterpret_cast<wl_proxy*>(device)) < ORG_KDE_KWIN_FAKE_INPUT_KEYBOARD_KEY_SINCE_VERSION) {
    return nullptr;
  }
  introduce(device);
  return std::unique_ptr<FakeKeyboard>(new FakeKeyboard(std::move(connection)));
}

/// Keys that are not held are released without effect.
void FakeKeyboard::letGoOfModifiers() {
  for (const uint32_t key : {KEY_LEFTSHIFT, KEY_RIGHTSHIFT, KEY_LEFTCTRL, KEY_RIGHTCTRL, KEY_LEFTALT, KEY_RIGHTALT,
                             KEY_LEFTMETA, KEY_RIGHTMETA}) {
    org_kde_kwin_fake_input_keyboard_key(connection_->globals().fakeInput, key, WL_KEYBOARD_KEY_STATE_RELEASED);
  }
}

void FakeKeyboard::typeKey(int64_t keyCode) {
  const std::lock_guard lock(mutex_);
  const auto key = keyOfCode(connection_->keymap(), keyCode);
  if (!key) {
    return;
  }
  // In one write: a process that dies in between leaves nothing pressed.
  letGoOfModifiers();
  for (const auto state : {WL_KEYBOARD_KEY_STATE_PRESSED, WL_KEYBOARD_KEY_STATE_RELEASED}) {
    org_kde_kwin_fake_input_keyboard_key(connection_->globals().fakeInput, *key, state);
  }
  connection_->settle();
}

void FakeKeyboard::releaseModifiers() {
  const std::lock_guard lock(mutex_);
  letGoOfModifiers();
  connection_->settle();
}

}  // namespace jumplark::kwin
