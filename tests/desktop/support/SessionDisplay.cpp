#include "desktop/support/SessionDisplay.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace jumplark::desktop {
namespace {

template <typename Reply>
using ReplyPointer = std::unique_ptr<Reply, decltype(&std::free)>;

template <typename Reply>
ReplyPointer<Reply> own(Reply* reply) {
  return {reply, &std::free};
}

}  // namespace

PrivateSession::Display::Display(const std::string& name) : connection_(xcb_connect(name.c_str(), nullptr)) {
  if (xcb_connection_has_error(connection_)) {
    xcb_disconnect(connection_);
    throw std::runtime_error("cannot reach the X server " + name);
  }
  screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  netWmName_ = atom("_NET_WM_NAME");
  netWmPid_ = atom("_NET_WM_PID");
  netActiveWindow_ = atom("_NET_ACTIVE_WINDOW");
}

xcb_atom_t PrivateSession::Display::atom(const char* name) const {
  const auto cookie = xcb_intern_atom(connection_, 0, static_cast<uint16_t>(std::strlen(name)), name);
  const auto reply = own(xcb_intern_atom_reply(connection_, cookie, nullptr));
  return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

std::string PrivateSession::Display::text(xcb_window_t window, xcb_atom_t property) const {
  const auto cookie = xcb_get_property(connection_, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1024);
  const auto reply = own(xcb_get_property_reply(connection_, cookie, nullptr));
  if (!reply || reply->format != 8) {
    return {};
  }
  return {static_cast<const char*>(xcb_get_property_value(reply.get())),
          static_cast<size_t>(xcb_get_property_value_length(reply.get()))};
}

std::optional<uint32_t> PrivateSession::Display::number(xcb_window_t window, xcb_atom_t property) const {
  const auto cookie = xcb_get_property(connection_, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1);
  const auto reply = own(xcb_get_property_reply(connection_, cookie, nullptr));
  if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4) {
    return std::nullopt;
  }
  uint32_t value = 0;
  std::memcpy(&value, xcb_get_property_value(reply.get()), sizeof value);
  return value;
}

std::optional<SessionWindow> PrivateSession::Display::describe(xcb_window_t window) const {
  const auto attributes =
      own(xcb_get_window_attributes_reply(connection_, xcb_get_window_attributes(connection_, window), nullptr));
  const auto geometry = own(xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
  const auto origin = own(xcb_translate_coordinates_reply(
      connection_, xcb_translate_coordinates(connection_, window, screen_->root, 0, 0), nullptr));
  if (!attributes || !geometry || !origin || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
      attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
    return std::nullopt;
  }
  SessionWindow result;
  result.id = window;
  result.title = text(window, netWmName_);
  if (result.title.empty()) {
    result.title = text(window, XCB_ATOM_WM_NAME);
  }
  result.className = text(window, XCB_ATOM_WM_CLASS);
  while (!result.className.empty() && result.className.back() == '\0') {
    result.className.pop_back();
  }
  std::replace(result.className.begin(), result.className.end(), '\0', ' ');
  result.pid = static_cast<int>(number(window, netWmPid_).value_or(static_cast<uint32_t>(-1)));
  result.overrideRedirect = attributes->override_redirect != 0;
  result.rect = {origin->dst_x, origin->dst_y, geometry->width, geometry->height};
  return result;
}

// Under a window manager the clients lie one or two levels below its frames.
void PrivateSession::Display::collect(xcb_window_t parent, int depth, std::vector<SessionWindow>& found) const {
  const auto tree = own(xcb_query_tree_reply(connection_, xcb_query_tree(connection_, parent), nullptr));
  if (!tree) {
    return;
  }
  const xcb_window_t* children = xcb_query_tree_children(tree.get());
  for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
    const auto window = describe(children[i]);
    if (!window) {
      continue;
    }
    if (!window->title.empty() || !window->className.empty()) {
      found.push_back(*window);
    } else if (depth > 0) {
      collect(children[i], depth - 1, found);
    }
  }
}

std::vector<SessionWindow> PrivateSession::Display::windows() const {
  std::vector<SessionWindow> found;
  collect(screen_->root, 2, found);
  return found;
}

uint32_t PrivateSession::Display::activeWindow() const {
  return number(screen_->root, netActiveWindow_).value_or(0);
}

void PrivateSession::Display::requestActive(xcb_window_t window) const {
  constexpr uint32_t kFromPager = 2;
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = window;
  message.type = netActiveWindow_;
  message.data.data32[0] = kFromPager;
  message.data.data32[1] = XCB_CURRENT_TIME;
  xcb_send_event(connection_, 0, screen_->root,
                 XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&message));
  xcb_flush(connection_);
}

bool PrivateSession::Display::compositorRuns() const {
  const auto cookie = xcb_get_selection_owner(connection_, atom("_NET_WM_CM_S0"));
  const auto reply = own(xcb_get_selection_owner_reply(connection_, cookie, nullptr));
  return reply && reply->owner != XCB_WINDOW_NONE;
}

std::vector<uint32_t> PrivateSession::Display::pixels(const PixelRect& rect) const {
  const int left = std::max(rect.x, 0);
  const int top = std::max(rect.y, 0);
  const int right = std::min<int>(rect.x + rect.width, screen_->width_in_pixels);
  const int bottom = std::min<int>(rect.y + rect.height, screen_->height_in_pixels);
  if (left >= right || top >= bottom) {
    return {};
  }
  const auto cookie = xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, screen_->root, static_cast<int16_t>(left),
                                    static_cast<int16_t>(top), static_cast<uint16_t>(right - left),
                                    static_cast<uint16_t>(bottom - top), ~0U);
  const auto reply = own(xcb_get_image_reply(connection_, cookie, nullptr));
  if (!reply) {
    throw std::runtime_error("the X server gave no picture of the screen");
  }
  std::vector<uint32_t> result(static_cast<size_t>(xcb_get_image_data_length(reply.get())) / sizeof(uint32_t));
  std::memcpy(result.data(), xcb_get_image_data(reply.get()), result.size() * sizeof(uint32_t));
  for (uint32_t& colour : result) {
    colour &= 0xFFFFFFU;
  }
  return result;
}

std::string PrivateSession::Display::heldInput() const {
  // Locks stay on without anybody holding a key.
  constexpr unsigned kModifiers = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;
  const auto pointerCookie = xcb_query_pointer(connection_, screen_->root);
  const auto keysCookie = xcb_query_keymap(connection_);
  const auto pointer = own(xcb_query_pointer_reply(connection_, pointerCookie, nullptr));
  const auto keys = own(xcb_query_keymap_reply(connection_, keysCookie, nullptr));
  if (!pointer || !keys) {
    return "unknown: the X server does not answer";
  }
  std::string held;
  for (unsigned button = 1; button <= 5; ++button) {
    if ((pointer->mask & (XCB_BUTTON_MASK_1 << (button - 1))) != 0) {
      held += "button " + std::to_string(button) + ' ';
    }
  }
  if ((pointer->mask & kModifiers) != 0) {
    held += "modifiers " + std::to_string(pointer->mask & kModifiers) + ' ';
  }
  for (unsigned key = 8; key < 256; ++key) {
    if ((keys->keys[key / 8] & (1U << (key % 8))) != 0) {
      held += "key " + std::to_string(key) + ' ';
    }
  }
  return held;
}

bool PrivateSession::Display::keyboardIsFree() const {
  const auto cookie =
      xcb_grab_keyboard(connection_, 1, screen_->root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
  const auto reply = own(xcb_grab_keyboard_reply(connection_, cookie, nullptr));
  if (!reply || reply->status != XCB_GRAB_STATUS_SUCCESS) {
    return false;
  }
  xcb_ungrab_keyboard(connection_, XCB_CURRENT_TIME);
  xcb_flush(connection_);
  return true;
}

bool PrivateSession::Display::keyIsFree(uint8_t keycode) const {
  const auto cookie =
      xcb_grab_key_checked(connection_, 1, screen_->root, 0, keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
  const bool free = !own(xcb_request_check(connection_, cookie));
  if (free) {
    xcb_ungrab_key(connection_, keycode, screen_->root, 0);
    xcb_flush(connection_);
  }
  return free;
}

}  // namespace jumplark::desktop
