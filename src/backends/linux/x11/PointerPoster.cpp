#include "backends/linux/x11/PointerPoster.h"

#include <xcb/xtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "backends/linux/x11/Reply.h"

namespace jumplark {
namespace {

using x11::takeReply;

constexpr uint8_t kLogicalLeftButton = 1;
constexpr uint8_t kLogicalRightButton = 3;

int16_t clamped(double pixel) {
  constexpr double low = std::numeric_limits<int16_t>::min();
  constexpr double high = std::numeric_limits<int16_t>::max();
  return static_cast<int16_t>(std::isnan(pixel) ? 0 : std::clamp(pixel, low, high));
}

}  // namespace

PointerPoster::PointerPoster(std::shared_ptr<X11Connection> connection, KeycodeCallback willReleaseKey)
    : x_(std::move(connection)), willReleaseKey_(std::move(willReleaseKey)), guard_(ButtonGuard::start(*x_)) {}

PointerPoster::~PointerPoster() {
  const std::lock_guard lock(mutex_);
  release();
}

void PointerPoster::post(const MouseEvent& event) {
  if (x_->extensions().xtest == 0) {
    return;
  }
  const std::lock_guard lock(mutex_);
  // Asked beside each other: a press follows a window that has just been hidden, and the X server is busy with that.
  std::optional<PressQuestions> questions;
  if (event.type == event_type::leftMouseDown) {
    questions = askForPress();
  }
  // A position whose y was converted from a bottom-left origin lies one above the point meant, so a half row belongs to
  // the row below it; a half column to the column it lies in.
  moveTo(clamped(std::floor(event.position.x)), clamped(std::ceil(event.position.y)));
  if (questions) {
    press(kLogicalLeftButton, *questions);
  } else if (event.type == event_type::leftMouseUp) {
    release();
  }
  settle();
}

void PointerPoster::clickSecondary(Point place) {
  if (x_->extensions().xtest == 0) {
    return;
  }
  const std::lock_guard lock(mutex_);
  const PressQuestions questions = askForPress();
  moveTo(clamped(std::floor(place.x)), clamped(std::floor(place.y)));
  press(kLogicalRightButton, questions);
  release();
  settle();
}

void PointerPoster::settle() {
  x_->check(xcb_no_operation_checked(x_->get()));
  x_->dropEvents();
}

PointerPoster::PressQuestions PointerPoster::askForPress() const {
  return {xcb_get_pointer_mapping(x_->get()), x11::askHeldModifiers(*x_)};
}

// A motion that changes nothing is an event all the same, and a menu that opened under a press takes any motion before
// the release for the choice of an entry, and closes.
void PointerPoster::moveTo(int16_t x, int16_t y) {
  const auto pointer = takeReply(x_->get(), xcb_query_pointer_reply, xcb_query_pointer(x_->get(), x_->root()));
  if (!pointer || pointer->root_x != x || pointer->root_y != y) {
    fake(XCB_MOTION_NOTIFY, 0, x, y);
  }
}

void PointerPoster::press(uint8_t logical, const PressQuestions& questions) {
  const uint8_t button = physicalButton(logical, questions.mapping);
  const std::vector<uint8_t> held = x11::takeHeldModifiers(*x_, questions.modifiers);
  if (pressed_ != 0) {
    return;
  }
  for (const uint8_t keycode : held) {
    if (willReleaseKey_) {
      willReleaseKey_(keycode);
    }
    fake(XCB_KEY_RELEASE, keycode);
  }
  pressed_ = button;
  if (guard_) {
    guard_->setPressed(pressed_);
  }
  fake(XCB_BUTTON_PRESS, pressed_);
}

void PointerPoster::release() {
  if (pressed_ == 0) {
    return;
  }
  fake(XCB_BUTTON_RELEASE, std::exchange(pressed_, 0));
  // Only once the server has the release may the guard forget the button.
  x_->check(xcb_no_operation_checked(x_->get()));
  if (guard_) {
    guard_->setPressed(0);
  }
}

void PointerPoster::fake(uint8_t type, uint8_t detail, int16_t x, int16_t y) {
  xcb_test_fake_input(x_->get(), type, detail, XCB_CURRENT_TIME, x_->root(), x, y, 0);
}

// A left-handed user's mapping applies to synthetic buttons too.
uint8_t PointerPoster::physicalButton(uint8_t logical, xcb_get_pointer_mapping_cookie_t asked) const {
  const auto mapping = takeReply(x_->get(), xcb_get_pointer_mapping_reply, asked);
  if (!mapping) {
    return logical;
  }
  const uint8_t* begin = xcb_get_pointer_mapping_map(mapping.get());
  const uint8_t* end = begin + xcb_get_pointer_mapping_map_length(mapping.get());
  const uint8_t* found = std::find(begin, end, logical);
  return found == end ? logical : static_cast<uint8_t>(found - begin + 1);
}

}  // namespace jumplark
