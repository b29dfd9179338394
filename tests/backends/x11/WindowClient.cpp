#include "backends/x11/WindowClient.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xcb_icccm.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace jumplark {
namespace {

/// What the process does. Nothing here is buffered, since the buffers are copies of those of the test.
class Client {
 public:
  explicit Client(const std::string& display) : x_(xcb_connect(display.c_str(), nullptr)) {}

  void show(const desktop::PixelRect& rect, bool overrideRedirect, const std::vector<WindowProperty>& properties) {
    const xcb_screen_t& screen = *xcb_setup_roots_iterator(xcb_get_setup(x_)).data;
    const uint32_t values[] = {screen.white_pixel, overrideRedirect ? 1U : 0U,
                               XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_KEY_PRESS |
                                   XCB_EVENT_MASK_KEY_RELEASE};
    xcb_create_window(x_, XCB_COPY_FROM_PARENT, window_, screen.root, static_cast<int16_t>(rect.x),
                      static_cast<int16_t>(rect.y), static_cast<uint16_t>(rect.width),
                      static_cast<uint16_t>(rect.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_size_hints_t hints{};
    xcb_icccm_size_hints_set_position(&hints, 1, rect.x, rect.y);
    xcb_icccm_size_hints_set_size(&hints, 1, rect.width, rect.height);
    xcb_icccm_set_wm_normal_hints(x_, window_, &hints);
    setProperty({"WM_NAME", "STRING", "Window"});
    for (const WindowProperty& property : properties) {
      setProperty(property);
    }
    xcb_map_window(x_, window_);
    xcb_flush(x_);
    dprintf(STDOUT_FILENO, "window %u\n", window_);
  }

  void tellEvents() const {
    while (xcb_generic_event_t* event = xcb_wait_for_event(x_)) {
      const int type = event->response_type & 0x7F;
      const auto* e = reinterpret_cast<const xcb_button_press_event_t*>(event);  // those of keys are alike
      if (type == XCB_BUTTON_PRESS || type == XCB_BUTTON_RELEASE) {
        const char* const word = type == XCB_BUTTON_PRESS ? "press" : "release";
        dprintf(STDOUT_FILENO, "%s %d %d %d 0x%x\n", word, e->detail, e->event_x, e->event_y, e->state);
      } else if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
        dprintf(STDOUT_FILENO, "%s %d 0x%x\n", type == XCB_KEY_PRESS ? "key" : "keyrelease", e->detail, e->state);
      }
      std::free(event);
    }
  }

 private:
  xcb_atom_t atom(const std::string& name) const {
    const auto cookie = xcb_intern_atom(x_, 0, static_cast<uint16_t>(name.size()), name.c_str());
    xcb_intern_atom_reply_t* reply = xcb_intern_atom_reply(x_, cookie, nullptr);
    const xcb_atom_t result = reply ? reply->atom : 0;
    std::free(reply);
    return result;
  }

  void setProperty(const WindowProperty& property) const {
    const bool isText = property.type.ends_with("STRING");
    std::vector<uint32_t> numbers;
    std::istringstream words(isText ? "" : property.value);
    for (std::string word; std::getline(words, word, ',');) {
      numbers.push_back(property.type == "ATOM" ? atom(word) : static_cast<uint32_t>(std::stoul(word)));
    }
    const size_t size = isText ? property.value.size() : numbers.size();
    const void* const data = isText ? static_cast<const void*>(property.value.data()) : numbers.data();
    xcb_change_property(x_, XCB_PROP_MODE_REPLACE, window_, atom(property.name), atom(property.type), isText ? 8 : 32,
                        static_cast<uint32_t>(size), data);
  }

  xcb_connection_t* x_;
  xcb_window_t window_ = xcb_generate_id(x_);
};

/// An X server in a session of somebody else's serves only him.
void becomeUserOf(const desktop::PrivateSession& session) {
  const auto user = session.environment().find("JUMPLARK_SESSION_USER");
  if (user != session.environment().end()) {
    const auto group = static_cast<gid_t>(std::stoul(session.environment().at("JUMPLARK_SESSION_GROUP")));
    if (::setgroups(0, nullptr) != 0 || ::setgid(group) != 0 ||
        ::setuid(static_cast<uid_t>(std::stoul(user->second)))) {
      ::_exit(1);
    }
  }
}

}  // namespace

WindowClient::WindowClient(const desktop::PrivateSession& session, const desktop::PixelRect& rect, Kind kind,
                           const std::vector<WindowProperty>& properties) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
    throw std::runtime_error("no pipe");
  }
  process_ = ::fork();
  if (process_ == 0) {
    becomeUserOf(session);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(ends[1], STDOUT_FILENO);
    // Copies of the test's own connections would keep what they have grabbed.
    ::close_range(STDERR_FILENO + 1, ~0U, 0);
    Client client(session.display());
    client.show(rect, kind == overrideRedirect, properties);
    client.tellEvents();
    ::_exit(0);
  }
  ::close(ends[1]);
  output_ = ends[0];
  const auto isShown = [&] {
    const auto announced = lines("window");
    window_ = announced.empty() ? 0 : static_cast<uint32_t>(std::stoul(announced.front().substr(7)));
    // A Wayland compositor lists windows under numbers of its own, and no unmanaged ones.
    return window_ != 0 && (session.environment().contains("SWAYSOCK") ||
                            session.hasWindow([&](const auto& window) { return window.id == window_; }));
  };
  if (!desktop::waitUntil(isShown)) {
    throw std::runtime_error("the window did not appear");
  }
}

WindowClient::~WindowClient() {
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
  ::close(output_);
}

std::vector<std::string> WindowClient::lines(const std::string& words) const {
  char buffer[4096];
  for (ssize_t count = 0; (count = ::read(output_, buffer, sizeof buffer)) > 0;) {
    text_.append(buffer, static_cast<size_t>(count));
  }
  std::vector<std::string> result;
  std::istringstream text(text_);
  for (std::string line; std::getline(text, line);) {
    if (line == words || line.starts_with(words.empty() ? words : words + " ")) {
      result.push_back(line);
    }
  }
  return result;
}

}  // namespace jumplark
