// A client of the X server whose one window is exactly what its arguments say, and which prints what happens to it, one
// event a line:
//   window ID | press BUTTON X Y STATE | release BUTTON X Y STATE | key KEYCODE STATE | keyrelease KEYCODE STATE
// X and Y are relative to the window. Arguments (all but the geometry optional):
//   WxH+X+Y --title T --class INSTANCE CLASS --type NORMAL --property NAME TYPE VALUE --input X Y W H --bounding X Y W
//   H
//   --override-redirect --no-pid --churn --menu LEVELS
// The value of a property is a text for STRING and UTF8_STRING, the name of an atom for ATOM, else numbers with commas
// between them. With --churn it makes and destroys further windows as fast as it can. With --menu it opens a menu of
// that many levels and grabs the keyboard, prints "menu", closes a level at each Escape without modifiers, and ends the
// grab with the last.

#include <unistd.h>
#include <xcb/shape.h>
#include <xcb/xcb.h>
#include <xcb/xcb_icccm.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

xcb_connection_t* connection;
xcb_screen_t* screen;
int menuLevels = 0;
bool wantsPid = true;
bool churns = false;
std::vector<xcb_window_t> menu;

xcb_atom_t atom(const std::string& name) {
  const auto cookie = xcb_intern_atom(connection, 0, static_cast<uint16_t>(name.size()), name.c_str());
  xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(connection, cookie, nullptr);
  const xcb_atom_t result = reply ? reply->atom : 0;
  std::free(reply);
  return result;
}

void setProperty(xcb_window_t window, const std::string& name, const std::string& type, const std::string& value) {
  if (type.ends_with("STRING")) {
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom(name), atom(type), 8,
                        static_cast<uint32_t>(value.size()), value.data());
    return;
  }
  std::vector<uint32_t> numbers;
  std::istringstream words(value);
  for (std::string word; std::getline(words, word, ',');) {
    numbers.push_back(type == "ATOM" ? atom(word) : static_cast<uint32_t>(std::stoul(word)));
  }
  xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom(name), atom(type), 32,
                      static_cast<uint32_t>(numbers.size()), numbers.data());
}

xcb_window_t createWindow(const char* geometry, bool overrideRedirect) {
  int x = 0;
  int y = 0;
  unsigned width = 100;
  unsigned height = 100;
  if (std::sscanf(geometry, "%ux%u+%d+%d", &width, &height, &x, &y) != 4) {
    std::exit(2);
  }
  const xcb_window_t window = xcb_generate_id(connection);
  const uint32_t values[] = {screen->white_pixel, overrideRedirect ? 1U : 0U,
                             XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_KEY_PRESS |
                                 XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_EXPOSURE};
  xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, static_cast<int16_t>(x),
                    static_cast<int16_t>(y), static_cast<uint16_t>(width), static_cast<uint16_t>(height), 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                    XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
  xcb_size_hints_t hints{};
  xcb_icccm_size_hints_set_position(&hints, 1, x, y);
  xcb_icccm_size_hints_set_size(&hints, 1, static_cast<int32_t>(width), static_cast<int32_t>(height));
  xcb_icccm_set_wm_normal_hints(connection, window, &hints);
  return window;
}

/// The arguments, read one after the other.
struct Options {
  char** next;
  char** end;
  std::string text() { return next < end ? *next++ : ""; }
  int number() { return std::stoi(text()); }
};

void shape(xcb_window_t window, xcb_shape_sk_t kind, Options& options) {
  const auto x = static_cast<int16_t>(options.number());
  const auto y = static_cast<int16_t>(options.number());
  const auto width = static_cast<uint16_t>(options.number());
  const xcb_rectangle_t r{x, y, width, static_cast<uint16_t>(options.number())};
  xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_UNSORTED, window, 0, 0, 1, &r);
}

/// What each argument does to the window.
const std::map<std::string, void (*)(xcb_window_t, Options&)> kArguments = {
    {"--title", [](auto w, auto& o) { setProperty(w, "_NET_WM_NAME", "UTF8_STRING", o.text()); }},
    {"--class",
     [](auto w, auto& o) {
       const std::string instance = o.text();
       setProperty(w, "WM_CLASS", "STRING", instance + '\0' + o.text() + '\0');
     }},
    {"--type",
     [](auto w, auto& o) { setProperty(w, "_NET_WM_WINDOW_TYPE", "ATOM", "_NET_WM_WINDOW_TYPE_" + o.text()); }},
    {"--property",
     [](auto w, auto& o) {
       const std::string name = o.text();
       const std::string type = o.text();
       setProperty(w, name, type, o.text());
     }},
    {"--input", [](auto w, auto& o) { shape(w, XCB_SHAPE_SK_INPUT, o); }},
    {"--bounding", [](auto w, auto& o) { shape(w, XCB_SHAPE_SK_BOUNDING, o); }},
    {"--menu", [](auto, auto& o) { menuLevels = o.number(); }},
    {"--no-pid", [](auto, auto&) { wantsPid = false; }},
    {"--churn", [](auto, auto&) { churns = true; }},
    {"--override-redirect", [](auto, auto&) {}},
};

void churn() {
  while (xcb_connection_has_error(connection) == 0) {
    const xcb_window_t window = createWindow("50x50+5+5", true);
    setProperty(window, "WM_NAME", "STRING", "short-lived");
    xcb_map_window(connection, window);
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    xcb_destroy_window(connection, window);
    while (xcb_generic_event_t* event = xcb_poll_for_event(connection)) {
      std::free(event);
    }
  }
}

void openMenu() {
  for (int level = 0; level < menuLevels; ++level) {
    menu.push_back(createWindow("60x60+300+200", true));
    xcb_map_window(connection, menu.back());
  }
  xcb_grab_keyboard_reply_t* reply = xcb_grab_keyboard_reply(
      connection,
      xcb_grab_keyboard(connection, 0, menu.front(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
      nullptr);
  std::printf(reply && reply->status == XCB_GRAB_STATUS_SUCCESS ? "menu\n" : "no menu\n");
  std::free(reply);
}

void closeLevel(const xcb_key_press_event_t& key) {
  constexpr xcb_keycode_t escape = 9;
  if (menu.empty() || key.detail != escape || key.state != 0) {
    return;
  }
  xcb_destroy_window(connection, menu.back());
  menu.pop_back();
  if (menu.empty()) {
    xcb_ungrab_keyboard(connection, XCB_CURRENT_TIME);
  }
  xcb_flush(connection);
}

void print(const xcb_generic_event_t* event) {
  const int type = event->response_type & 0x7F;
  const auto* e = reinterpret_cast<const xcb_button_press_event_t*>(event);  // those of keys are alike
  if (type == XCB_BUTTON_PRESS || type == XCB_BUTTON_RELEASE) {
    const char* const word = type == XCB_BUTTON_PRESS ? "press" : "release";
    std::printf("%s %d %d %d 0x%x\n", word, e->detail, e->event_x, e->event_y, e->state);
  } else if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
    std::printf("%s %d 0x%x\n", type == XCB_KEY_PRESS ? "key" : "keyrelease", e->detail, e->state);
  }
  std::fflush(stdout);
  if (type == XCB_KEY_PRESS) {
    closeLevel(*reinterpret_cast<const xcb_key_press_event_t*>(event));
  }
}

}  // namespace

int main(int argc, char** argv) {
  connection = xcb_connect(nullptr, nullptr);
  if (argc < 2 || xcb_connection_has_error(connection) != 0) {
    return 2;
  }
  screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
  const bool overrideRedirect =
      std::any_of(argv, argv + argc, [](const char* each) { return std::strcmp(each, "--override-redirect") == 0; });
  const xcb_window_t window = createWindow(argv[1], overrideRedirect);
  for (Options options{argv + 2, argv + argc}; options.next < options.end;) {
    kArguments.at(options.text())(window, options);
  }
  if (wantsPid) {
    setProperty(window, "_NET_WM_PID", "CARDINAL", std::to_string(getpid()));
  }
  xcb_map_window(connection, window);
  xcb_flush(connection);
  std::printf("window %u\n", window);
  if (menuLevels > 0) {
    openMenu();
  }
  std::fflush(stdout);
  if (churns) {
    churn();
  }
  while (xcb_generic_event_t* event = xcb_wait_for_event(connection)) {
    print(event);
    std::free(event);
  }
  return 0;
}
