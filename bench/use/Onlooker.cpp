#include "Onlooker.h"

#include <xcb/xtest.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <thread>

namespace jumplark::bench {
namespace {

constexpr auto kGlance = std::chrono::microseconds(200);

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> own(Reply* reply) {
  return {reply, &std::free};
}

}  // namespace

Onlooker::Onlooker(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
  if (xcb_connection_has_error(connection_) != 0) {
    xcb_disconnect(connection_);
    throw std::runtime_error("cannot reach the X server");
  }
  screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
}

void Onlooker::key(uint8_t type, uint8_t keycode) {
  xcb_test_fake_input(connection_, type, keycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
}

Clock::time_point Onlooker::press(const std::vector<uint8_t>& keycodes) {
  for (const uint8_t keycode : keycodes) {
    key(XCB_KEY_PRESS, keycode);
  }
  xcb_flush(connection_);
  const auto pressed = Clock::now();
  for (auto keycode = keycodes.rbegin(); keycode != keycodes.rend(); ++keycode) {
    key(XCB_KEY_RELEASE, *keycode);
  }
  xcb_flush(connection_);
  return pressed;
}

void Onlooker::watchFocus(xcb_window_t window) {
  const uint32_t mask = XCB_EVENT_MASK_FOCUS_CHANGE;
  xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &mask);
  xcb_flush(connection_);
}

void Onlooker::forget() {
  std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
  while (own(xcb_poll_for_event(connection_))) {
  }
}

double Onlooker::untilFocus(Clock::time_point start) {
  return until(start, [this] {
    while (const auto event = own(xcb_poll_for_event(connection_))) {
      const auto& focus = reinterpret_cast<const xcb_focus_in_event_t&>(*event);
      if ((event->response_type & 0x7F) == XCB_FOCUS_IN && focus.mode != XCB_NOTIFY_MODE_GRAB &&
          focus.mode != XCB_NOTIFY_MODE_UNGRAB) {
        return true;
      }
    }
    return false;
  });
}

double Onlooker::until(Clock::time_point start, const std::function<bool()>& condition) {
  while (!condition()) {
    if (Clock::now() - start > kPatience) {
      throw std::runtime_error("what is waited for did not happen in ten seconds");
    }
    std::this_thread::sleep_for(kGlance);
  }
  return millisecondsSince(start);
}

bool Onlooker::buttonIsDown() const {
  const auto reply = own(xcb_query_pointer_reply(connection_, xcb_query_pointer(connection_, screen_->root), nullptr));
  return reply && (reply->mask & XCB_BUTTON_MASK_1) != 0;
}

std::vector<uint32_t> Onlooker::pixels(xcb_window_t window, int x, int y, int width, int height) const {
  const auto cookie =
      xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window, static_cast<int16_t>(x), static_cast<int16_t>(y),
                    static_cast<uint16_t>(width), static_cast<uint16_t>(height), ~0U);
  xcb_generic_error_t* error = nullptr;
  const auto reply = own(xcb_get_image_reply(connection_, cookie, &error));
  std::free(error);
  if (!reply) {
    return {};
  }
  const auto* data = reinterpret_cast<const uint32_t*>(xcb_get_image_data(reply.get()));
  std::vector<uint32_t> result(data, data + xcb_get_image_data_length(reply.get()) / 4);
  for (uint32_t& color : result) {
    color &= 0xFFFFFFU;
  }
  return result;
}

double Onlooker::plainWindow() {
  const xcb_window_t window = xcb_generate_id(connection_);
  const uint32_t values[] = {screen_->white_pixel, XCB_EVENT_MASK_FOCUS_CHANGE};
  const auto start = Clock::now();
  xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, screen_->root, 100, 100, 440, 54, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
  xcb_map_window(connection_, window);
  xcb_flush(connection_);
  const double result = untilFocus(start);
  xcb_destroy_window(connection_, window);
  xcb_flush(connection_);
  return result;
}

}  // namespace jumplark::bench
