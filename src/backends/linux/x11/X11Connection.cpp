#include "backends/linux/x11/X11Connection.h"

#include <xcb/randr.h>
#include <xcb/res.h>
#include <xcb/shape.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <csignal>
#include <cstdlib>
#include <mutex>

#include "backends/linux/crash/CrashRelease.h"
#include "backends/linux/x11/Properties.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/XkbHeader.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

using x11::takeReply;

constexpr std::array<const char*, static_cast<size_t>(Atom::count)> kAtomNames = {
    "WM_STATE",
    "_NET_SUPPORTING_WM_CHECK",
    "_NET_CLIENT_LIST",
    "_NET_CLIENT_LIST_STACKING",
    "_NET_ACTIVE_WINDOW",
    "_NET_WM_NAME",
    "_NET_WM_PID",
    "_NET_FRAME_EXTENTS",
    "_NET_WM_STATE",
    "_NET_WM_STATE_HIDDEN",
    "_NET_WM_STATE_MODAL",
    "_NET_WM_STATE_MAXIMIZED_HORZ",
    "_NET_WM_STATE_MAXIMIZED_VERT",
    "_NET_WM_ALLOWED_ACTIONS",
    "_NET_WM_ACTION_CLOSE",
    "_NET_WM_ACTION_MINIMIZE",
    "_NET_WM_ACTION_MAXIMIZE_HORZ",
    "_NET_WM_ACTION_MAXIMIZE_VERT",
    "_NET_CLOSE_WINDOW",
    "WM_CHANGE_STATE",
    "_NET_WM_WINDOW_TYPE",
    "_NET_WM_WINDOW_TYPE_NORMAL",
    "_NET_WM_WINDOW_TYPE_DIALOG",
    "_NET_WM_WINDOW_TYPE_UTILITY",
    "_NET_WM_WINDOW_TYPE_TOOLBAR",
    "_NET_WM_WINDOW_TYPE_MENU",
    "_NET_WM_WINDOW_TYPE_DROPDOWN_MENU",
    "_NET_WM_WINDOW_TYPE_POPUP_MENU",
    "_NET_WM_WINDOW_TYPE_COMBO",
    "_NET_WM_WINDOW_TYPE_TOOLTIP",
    "_NET_WM_WINDOW_TYPE_DOCK",
    "_NET_WM_WINDOW_TYPE_DESKTOP",
    "_NET_WM_WINDOW_TYPE_SPLASH",
    "_NET_WM_WINDOW_TYPE_NOTIFICATION",
    "_NET_WM_WINDOW_TYPE_DND",
    "_GTK_FRAME_EXTENTS",
    "_GTK_APPLICATION_ID",
    "_GTK_UNIQUE_BUS_NAME",
    "_GTK_MENUBAR_OBJECT_PATH",
    "_GTK_APP_MENU_OBJECT_PATH",
    "_GTK_APPLICATION_OBJECT_PATH",
    "_GTK_WINDOW_OBJECT_PATH",
    "_KDE_NET_WM_APPMENU_SERVICE_NAME",
    "_KDE_NET_WM_APPMENU_OBJECT_PATH",
    "_NET_WM_STRUT",
    "_NET_WM_STRUT_PARTIAL",
    "_NET_WORKAREA",
    "_NET_CURRENT_DESKTOP",
    "_XKB_RULES_NAMES",
    "_NET_WM_CM_S",
    "_NET_SYSTEM_TRAY_S",
};

void ignoreBrokenPipes() {
  static std::once_flag once;
  std::call_once(once, [] {
    struct sigaction current {};
    if (sigaction(SIGPIPE, nullptr, &current) == 0 && current.sa_handler == SIG_DFL) {
      std::signal(SIGPIPE, SIG_IGN);
    }
  });
}

std::string connectionError(const std::string& name, int code) {
  if (name.empty()) {
    return localized(
        "There is no X display: the environment variable DISPLAY is not set. Start Jumplark from within an X11 "
        "session, "
        "or set DISPLAY (for example DISPLAY=:0).");
  }
  if (code == XCB_CONN_CLOSED_PARSE_ERR) {
    return localizedFormat("\"{}\" is not the name of an X display. Set DISPLAY to one such as \":0\".", name);
  }
  return localizedFormat(
      "The X display \"{}\" cannot be reached. Check that the X server runs and that you may connect to it (DISPLAY "
      "and "
      "XAUTHORITY must be those of your session).",
      name);
}

xcb_screen_t* screenOf(xcb_connection_t* connection, int number) {
  xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  while (number-- > 0 && screens.rem > 1) {
    xcb_screen_next(&screens);
  }
  return screens.rem > 0 ? screens.data : nullptr;
}

}  // namespace

X11Connection::Opened X11Connection::open(const std::string& display) {
  ignoreBrokenPipes();
  std::string name = display;
  if (const char* fromEnvironment = std::getenv("DISPLAY"); name.empty() && fromEnvironment) {
    name = fromEnvironment;
  }
  int screenNumber = 0;
  xcb_connection_t* connection = xcb_connect(name.empty() ? nullptr : name.c_str(), &screenNumber);
  const int code = xcb_connection_has_error(connection);
  xcb_screen_t* screen = code == 0 ? screenOf(connection, screenNumber) : nullptr;
  if (!screen) {
    xcb_disconnect(connection);
    return {nullptr, connectionError(name, code)};
  }
  std::shared_ptr<X11Connection> result(new X11Connection(connection, screen, name));
  result->internAtoms(screenNumber);
  result->queryExtensions();
  if (!result->alive()) {
    return {nullptr, connectionError(name, XCB_CONN_ERROR)};
  }
  return {std::move(result), {}};
}

X11Connection::X11Connection(xcb_connection_t* connection, xcb_screen_t* screen, std::string displayName)
    : connection_(connection),
      screen_(screen),
      displayName_(std::move(displayName)),
      shutDownAtCrash_(shutDownAtCrash(xcb_get_file_descriptor(connection), CrashRelease::display)) {}

X11Connection::~X11Connection() {
  shutDownAtCrash_.reset();  // before another file gets the number of its socket
  xcb_disconnect(connection_);
}

void X11Connection::internAtoms(int screenNumber) {
  std::array<xcb_intern_atom_cookie_t, static_cast<size_t>(Atom::count)> cookies{};
  for (size_t i = 0; i < cookies.size(); ++i) {
    std::string name = kAtomNames[i];
    if (name.ends_with("_S")) {
      name += std::to_string(screenNumber);
    }
    cookies[i] = xcb_intern_atom(connection_, 0, static_cast<uint16_t>(name.size()), name.c_str());
  }
  for (size_t i = 0; i < cookies.size(); ++i) {
    const auto reply = takeReply(connection_, xcb_intern_atom_reply, cookies[i]);
    atoms_[i] = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
  }
}

void X11Connection::queryExtensions() {
  const auto present = [&](xcb_extension_t* id) {
    const xcb_query_extension_reply_t* data = xcb_get_extension_data(connection_, id);
    return data && data->present ? data : nullptr;
  };
  const auto version = [](const auto& reply) { return reply ? reply->major_version * 100 + reply->minor_version : 0; };
  for (xcb_extension_t* id :
       {&xcb_test_id, &xcb_shape_id, &xcb_xfixes_id, &xcb_randr_id, &xcb_res_id, &xcb_input_id, &xcb_xkb_id}) {
    xcb_prefetch_extension_data(connection_, id);
  }
  if (present(&xcb_test_id)) {
    const auto reply = takeReply(connection_, xcb_test_get_version_reply, xcb_test_get_version(connection_, 2, 2));
    extensions_.xtest = version(reply);
  }
  if (present(&xcb_shape_id)) {
    const auto reply = takeReply(connection_, xcb_shape_query_version_reply, xcb_shape_query_version(connection_));
    extensions_.shape = version(reply);
  }
  if (present(&xcb_xfixes_id)) {
    const auto reply =
        takeReply(connection_, xcb_xfixes_query_version_reply, xcb_xfixes_query_version(connection_, 5, 0));
    extensions_.xfixes = version(reply);
  }
  if (const auto* data = present(&xcb_randr_id)) {
    const auto reply =
        takeReply(connection_, xcb_randr_query_version_reply, xcb_randr_query_version(connection_, 1, 5));
    extensions_.randr = version(reply);
    extensions_.randrFirstEvent = data->first_event;
  }
  if (present(&xcb_res_id)) {
    const auto reply = takeReply(connection_, xcb_res_query_version_reply, xcb_res_query_version(connection_, 1, 2));
    extensions_.xresource = reply ? reply->server_major * 100 + reply->server_minor : 0;
  }
  if (const auto* data = present(&xcb_input_id)) {
    const auto reply =
        takeReply(connection_, xcb_input_xi_query_version_reply, xcb_input_xi_query_version(connection_, 2, 2));
    extensions_.xinput = version(reply);
    extensions_.xinputOpcode = data->major_opcode;
  }
  if (const auto* data = present(&xcb_xkb_id)) {
    const auto reply = takeReply(connection_, xcb_xkb_use_extension_reply, xcb_xkb_use_extension(connection_, 1, 0));
    extensions_.xkb = reply && reply->supported != 0 ? int{reply->serverMajor} * 100 + reply->serverMinor : 0;
    extensions_.xkbFirstEvent = data->first_event;
  }
  if (extensions_.xresource >= 102) {
    const uint32_t ownIds = xcb_get_setup(connection_)->resource_id_base;
    ownResourcePid_ = x11::takeClientPid(*this, x11::askClientPid(*this, ownIds));
  }
}

bool X11Connection::check(xcb_void_cookie_t cookie) const {
  const x11::Reply<xcb_generic_error_t> error(xcb_request_check(connection_, cookie));
  return !error && alive();
}

void X11Connection::dropEvents() const {
  while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_queued_event(connection_)}) {
  }
}

}  // namespace jumplark
