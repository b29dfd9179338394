// Owns Super+Shift+Space on the display of the environment, without any lock key; prints "registered" once it does.
#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>

int main() {
  constexpr xcb_keycode_t kSpace = 65;
  xcb_connection_t* const x = xcb_connect(nullptr, nullptr);
  if (xcb_connection_has_error(x) != 0) {
    return 2;
  }
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(x)).data->root;
  const auto grab = xcb_grab_key_checked(x, 0, root, XCB_MOD_MASK_4 | XCB_MOD_MASK_SHIFT, kSpace, XCB_GRAB_MODE_ASYNC,
                                         XCB_GRAB_MODE_ASYNC);
  if (xcb_request_check(x, grab) != nullptr) {
    return 1;
  }
  std::puts("registered");
  std::fflush(stdout);
  while (xcb_generic_event_t* event = xcb_wait_for_event(x)) {
    std::free(event);
  }
}
