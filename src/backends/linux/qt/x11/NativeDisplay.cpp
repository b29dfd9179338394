#include "backends/linux/qt/x11/NativeDisplay.h"

#include <xcb/xfixes.h>

#include <QGuiApplication>
#include <algorithm>
#include <stdexcept>
#include <utility>

#include "backends/linux/qt/QtMainLoop.h"
#include "backends/linux/x11/Reply.h"

namespace jumplark {
namespace {

using x11::takeReply;

template <typename Function>
Token addTo(std::vector<std::shared_ptr<Function>>& list, Function function) {
  auto added = std::make_shared<Function>(std::move(function));
  list.push_back(added);
  return Token([&list, added] {
    // Emptied as well: a round of calls that is under way has a copy of the list.
    *added = nullptr;
    std::erase(list, added);
  });
}

template <typename Function, typename... Arguments>
void callAll(const std::vector<std::shared_ptr<Function>>& list, const Arguments&... arguments) {
  // A copy, since a call may add to the list or take from it.
  const std::vector<std::shared_ptr<Function>> round(list.begin(), list.end());
  for (const auto& function : round) {
    if (*function) {
      const Function call = *function;
      QtMainLoop::guarded([&] { call(arguments...); });
    }
  }
}

}  // namespace

NativeDisplay::NativeDisplay() {
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  if (!x11) {
    throw std::logic_error("The windows need Qt's xcb platform");
  }
  connection_ = x11->connection();
  // Servers of today have one screen; monitors are parts of it.
  screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
  compositorSelection_ = atom("_NET_WM_CM_S0");
  watchCompositor();
  qGuiApp->installNativeEventFilter(this);
}

NativeDisplay::~NativeDisplay() {
  qGuiApp->removeNativeEventFilter(this);
  if (watcherWindow_ != XCB_WINDOW_NONE) {
    xcb_destroy_window(connection_, watcherWindow_);
  }
}

xcb_atom_t NativeDisplay::atom(const std::string& name) {
  const auto known = atoms_.find(name);
  if (known != atoms_.end()) {
    return known->second;
  }
  const auto reply = takeReply(connection_, xcb_intern_atom_reply,
                               xcb_intern_atom(connection_, 0, static_cast<uint16_t>(name.size()), name.c_str()));
  return atoms_[name] = reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

void NativeDisplay::synchronize() const {
  takeReply(connection_, xcb_get_input_focus_reply, xcb_get_input_focus(connection_));
}

Token NativeDisplay::addEventHandler(EventHandler handler) {
  return addTo(handlers_, std::move(handler));
}

Token NativeDisplay::onCompositorChanged(std::function<void()> callback) {
  return addTo(compositorCallbacks_, std::move(callback));
}

void NativeDisplay::watchCompositor() {
  const auto* extension = xcb_get_extension_data(connection_, &xcb_xfixes_id);
  if (extension && extension->present) {
    takeReply(connection_, xcb_xfixes_query_version_reply, xcb_xfixes_query_version(connection_, 2, 0));
    selectionEvent_ = extension->first_event + XCB_XFIXES_SELECTION_NOTIFY;
    watcherWindow_ = xcb_generate_id(connection_);
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, watcherWindow_, root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_xfixes_select_selection_input(connection_, watcherWindow_, compositorSelection_,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
  }
  compositorRuns_ = askForCompositor();
}

bool NativeDisplay::askForCompositor() {
  const auto owner =
      takeReply(connection_, xcb_get_selection_owner_reply, xcb_get_selection_owner(connection_, compositorSelection_));
  return owner && owner->owner != XCB_WINDOW_NONE;
}

void NativeDisplay::compositorMayHaveChanged() {
  if (std::exchange(compositorRuns_, askForCompositor()) != compositorRuns_) {
    callAll(compositorCallbacks_);
  }
}

bool NativeDisplay::nativeEventFilter(const QByteArray& eventType, void* message, qintptr* /*result*/) {
  if (eventType != "xcb_generic_event_t" || !message) {
    return false;
  }
  const auto& event = *static_cast<const xcb_generic_event_t*>(message);
  if ((event.response_type & 0x7F) == selectionEvent_ &&
      reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(event).selection == compositorSelection_) {
    QtMainLoop::guarded([this] { compositorMayHaveChanged(); });
  }
  callAll(handlers_, event);
  return false;
}

}  // namespace jumplark
