#include "desktop/support/SessionDisplay.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

namespace jumplark::desktop {

template <typename Request, typename Reply, typename... Arguments>
auto SessionDisplay::ask(Request request, Reply reply, Arguments... arguments) const {
  auto* answer = reply(connection_, request(connection_, arguments...), nullptr);
  return std::unique_ptr<std::remove_pointer_t<decltype(answer)>, decltype(&std::free)>(answer, &std::free);
}

void SessionDisplay::connect(const std::string& name) {
  connection_ = xcb_connect(name.c_str(), nullptr);
  if (xcb_connection_has_error(connection_)) {
    throw std::runtime_error("cannot reach the X server " + name);
  }
  screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  netWmName_ = atom("_NET_WM_NAME");
  netWmPid_ = atom("_NET_WM_PID");
  netActiveWindow_ = atom("_NET_ACTIVE_WINDOW");
}

void SessionDisplay::disconnect() {
  if (connection_) {
    xcb_disconnect(std::exchange(connection_, nullptr));
  }
}

uint32_t SessionDisplay::atom(const char* name) const {
  const auto reply = ask(xcb_intern_atom, xcb_intern_atom_reply, 0, static_cast<uint16_t>(std::strlen(name)), name);
  return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

std::string SessionDisplay::property(uint32_t window, uint32_t property, int bits) const {
  const auto reply =
      ask(xcb_get_property, xcb_get_property_reply, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1024);
  if (!reply || reply->format != bits) {
    return {};
  }
  return {static_cast<const char*>(xcb_get_property_value(reply.get())),
          static_cast<size_t>(xcb_get_property_value_length(reply.get()))};
}

uint32_t SessionDisplay::number(uint32_t window, uint32_t property) const {
  const std::string bytes = this->property(window, property, 32);
  uint32_t value = 0;
  std::memcpy(&value, bytes.data(), std::min(bytes.size(), sizeof value));
  return value;
}

std::optional<SessionWindow> SessionDisplay::describe(uint32_t window) const {
  const auto attributes = ask(xcb_get_window_attributes, xcb_get_window_attributes_reply, window);
  const auto geometry = ask(xcb_get_geometry, xcb_get_geometry_reply, window);
  const auto origin = ask(xcb_translate_coordinates, xcb_translate_coordinates_reply, window, screen_->root, 0, 0);
  if (!attributes || !geometry || !origin || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
      attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT) {
    return std::nullopt;
  }
  SessionWindow result;
  result.id = window;
  result.title = property(window, netWmName_);
  if (result.title.empty()) {
    result.title = property(window, XCB_ATOM_WM_NAME);
  }
  result.className = property(window, XCB_ATOM_WM_CLASS);
  const uint32_t pid = number(window, netWmPid_);
  result.pid = pid != 0 ? static_cast<int>(pid) : -1;
  result.overrideRedirect = attributes->override_redirect != 0;
  result.rect = {origin->dst_x, origin->dst_y, geometry->width, geometry->height};
  return result;
}

// Under a window manager the clients lie one or two levels below its frames.
void SessionDisplay::collect(uint32_t parent, int depth, std::vector<SessionWindow>& found) const {
  const auto tree = ask(xcb_query_tree, xcb_query_tree_reply, parent);
  if (!tree) {
    return;
  }
  const xcb_window_t* children = xcb_query_tree_children(tree.get());
  for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
    const auto window = describe(children[i]);
    if (window && !(window->title.empty() && window->className.empty())) {
      found.push_back(*window);
    } else if (window && depth > 0) {
      collect(children[i], depth - 1, found);
    }
  }
}

std::vector<SessionWindow> SessionDisplay::windows() const {
  std::vector<SessionWindow> found;
  collect(screen_->root, 2, found);
  return found;
}

std::optional<SessionWindow> SessionDisplay::findWindow(const WindowPredicate& wanted) const {
  const std::vector<SessionWindow> all = windows();
  const auto found = std::ranges::find_if(all, wanted);
  return found == all.end() ? std::nullopt : std::optional(*found);
}

uint32_t SessionDisplay::activeWindow() const {
  return number(screen_->root, netActiveWindow_);
}

void SessionDisplay::requestActive(uint32_t window) const {
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

bool SessionDisplay::compositorRuns() const {
  const auto reply = ask(xcb_get_selection_owner, xcb_get_selection_owner_reply, atom("_NET_WM_CM_S0"));
  return reply && reply->owner != XCB_WINDOW_NONE;
}

std::vector<uint32_t> SessionDisplay::pixels(const PixelRect& rect) const {
  const int left = std::max(rect.x, 0);
  const int top = std::max(rect.y, 0);
  const int width = std::min<int>(rect.x + rect.width, screen_->width_in_pixels) - left;
  const int height = std::min<int>(rect.y + rect.height, screen_->height_in_pixels) - top;
  if (width <= 0 || height <= 0) {
    return {};
  }
  const auto reply =
      ask(xcb_get_image, xcb_get_image_reply, XCB_IMAGE_FORMAT_Z_PIXMAP, screen_->root, static_cast<int16_t>(left),
          static_cast<int16_t>(top), static_cast<uint16_t>(width), static_cast<uint16_t>(height), ~0U);
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

std::string SessionDisplay::heldInput() const {
  // Locks stay on without anybody holding a key.
  constexpr unsigned kModifiers = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;
  const auto pointer = ask(xcb_query_pointer, xcb_query_pointer_reply, screen_->root);
  const auto keys = ask(xcb_query_keymap, xcb_query_keymap_reply);
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

bool SessionDisplay::keyboardIsFree() const {
  const auto reply = ask(xcb_grab_keyboard, xcb_grab_keyboard_reply, 1, screen_->root, XCB_CURRENT_TIME,
                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
  const bool free = reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
  if (free) {
    xcb_ungrab_keyboard(connection_, XCB_CURRENT_TIME);
    xcb_flush(connection_);
  }
  return free;
}

bool SessionDisplay::takeKey(uint8_t keycode, uint16_t modifiers) const {
  const auto cookie =
      xcb_grab_key_checked(connection_, 1, screen_->root, modifiers, keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
  const std::unique_ptr<xcb_generic_error_t, decltype(&std::free)> error(xcb_request_check(connection_, cookie),
                                                                         &std::free);
  return !error;
}

void SessionDisplay::giveKeyBack(uint8_t keycode, uint16_t modifiers) const {
  xcb_ungrab_key(connection_, keycode, screen_->root, modifiers);
  xcb_flush(connection_);
}

}  // namespace jumplark::desktop
