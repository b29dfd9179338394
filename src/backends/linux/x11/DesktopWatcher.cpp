#include "backends/linux/x11/DesktopWatcher.h"

#include <unistd.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include <atomic>
#include <mutex>
#include <utility>

#include "backends/linux/x11/EventThread.h"
#include "backends/linux/x11/KeyboardEvents.h"
#include "backends/linux/x11/PostedSlots.h"
#include "backends/linux/x11/Properties.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/WindowFactsReader.h"
#include "backends/linux/x11/X11Connection.h"

namespace jumplark {

using x11::takeReply;

class DesktopWatcher::Impl {
 public:
  Impl(std::shared_ptr<X11Connection> connection, TaskQueue& queue);

  TaskQueue& queue() { return queue_; }
  void stop() { thread_.stop(); }
  void watchPresses(int change);
  int32_t activeApplication() const;

  std::atomic<bool> compositorRuns{false};
  PostedSlots<bool> compositorChanged;
  PostedSlots<> windowManagerStarted;
  PostedSlots<int32_t> activeApplicationChanged;
  PostedSlots<Point> buttonPress;

 private:
  void handle(const xcb_generic_event_t& event);
  void handleProperty(xcb_atom_t atom);
  void handlePress(uint32_t button);
  bool readCompositor() const;

  std::shared_ptr<X11Connection> x_;
  TaskQueue& queue_;
  uint8_t xfixesEvent_ = 0;  ///< 0 where the extension is missing
  std::mutex pressMutex_;
  int pressWatchers_ = 0;
  int32_t activePid_ = -1;  ///< the thread's own
  EventThread thread_{x_, [this](const xcb_generic_event_t& event) { handle(event); }};
};

DesktopWatcher::Impl::Impl(std::shared_ptr<X11Connection> connection, TaskQueue& queue)
    : x_(std::move(connection)), queue_(queue) {
  if (x_->extensions().xfixes > 0) {
    xfixesEvent_ = xcb_get_extension_data(x_->get(), &xcb_xfixes_id)->first_event + XCB_XFIXES_SELECTION_NOTIFY;
    x_->check(xcb_xfixes_select_selection_input_checked(x_->get(), x_->root(), x_->atom(Atom::netWmCompositor),
                                                        XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                                            XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                                            XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE));
  }
  const uint32_t properties = XCB_EVENT_MASK_PROPERTY_CHANGE;
  x_->check(xcb_change_window_attributes_checked(x_->get(), x_->root(), XCB_CW_EVENT_MASK, &properties));
  compositorRuns = readCompositor();
  activePid_ = activeApplication();
  thread_.start();
}

void DesktopWatcher::Impl::watchPresses(int change) {
  const std::lock_guard lock(pressMutex_);
  const bool before = pressWatchers_ > 0;
  pressWatchers_ += change;
  if (before != (pressWatchers_ > 0) && x_->extensions().xinput >= 202) {
    x11::selectRawEvents(*x_, pressWatchers_ > 0 ? XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS : 0);
    thread_.wake();
  }
}

// -1 when there is none, or it is this process.
int32_t DesktopWatcher::Impl::activeApplication() const {
  const auto active = x11::readNumbers(*x_, x_->root(), x_->atom(Atom::netActiveWindow), 1);
  if (!active || active->empty() || active->front() == XCB_NONE) {
    return -1;
  }
  const auto facts = x11::readWindowFacts(*x_, {active->front()}).front();
  const bool isOwn =
      facts && (facts->pid == getpid() || (facts->connectionPid > 0 && facts->connectionPid == x_->ownResourcePid()));
  return facts && !isOwn ? facts->pid : -1;
}

bool DesktopWatcher::Impl::readCompositor() const {
  const auto owner = takeReply(x_->get(), xcb_get_selection_owner_reply,
                               xcb_get_selection_owner(x_->get(), x_->atom(Atom::netWmCompositor)));
  return owner && owner->owner != XCB_NONE;
}

void DesktopWatcher::Impl::handle(const xcb_generic_event_t& event) {
  const uint8_t type = event.response_type & 0x7FU;
  if (type == XCB_PROPERTY_NOTIFY) {
    const auto& property = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    if (property.state == XCB_PROPERTY_NEW_VALUE) {
      handleProperty(property.atom);
    }
  } else if (xfixesEvent_ != 0 && type == xfixesEvent_) {
    const bool runs = reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(event).owner != XCB_NONE;
    if (compositorRuns.exchange(runs) || runs) {
      compositorChanged.post(queue_, runs);
    }
  } else if (x11::isInputEvent(*x_, event)) {
    const auto& raw = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
    if (raw.event_type == XCB_INPUT_RAW_BUTTON_PRESS) {
      handlePress(raw.detail);
    }
  }
}

void DesktopWatcher::Impl::handleProperty(xcb_atom_t atom) {
  if (atom == x_->atom(Atom::netSupportingWmCheck)) {
    windowManagerStarted.post(queue_);
  } else if (atom == x_->atom(Atom::netActiveWindow)) {
    const int32_t pid = activeApplication();
    if (pid > 0 && std::exchange(activePid_, pid) != pid) {
      activeApplicationChanged.post(queue_, pid);
    }
  }
}

// A raw event has no place of its own.
void DesktopWatcher::Impl::handlePress(uint32_t button) {
  constexpr uint32_t firstScroll = 4;
  constexpr uint32_t lastScroll = 7;
  if (button >= firstScroll && button <= lastScroll) {
    return;
  }
  if (const auto pointer = takeReply(x_->get(), xcb_query_pointer_reply, xcb_query_pointer(x_->get(), x_->root()))) {
    buttonPress.post(queue_, Point{double(pointer->root_x), double(pointer->root_y)});
  }
}

std::unique_ptr<DesktopWatcher> DesktopWatcher::create(const std::string& display, TaskQueue& queue) {
  auto connection = X11Connection::open(display).connection;
  return connection
             ? std::unique_ptr<DesktopWatcher>(new DesktopWatcher(std::make_shared<Impl>(std::move(connection), queue)))
             : nullptr;
}

DesktopWatcher::DesktopWatcher(std::shared_ptr<Impl> impl) : impl_(std::move(impl)) {}

DesktopWatcher::~DesktopWatcher() {
  impl_->stop();
}

bool DesktopWatcher::compositorRuns() const {
  return impl_->compositorRuns;
}

Token DesktopWatcher::onCompositorChanged(std::function<void(bool)> callback) {
  return impl_->compositorChanged.add(std::move(callback));
}

Token DesktopWatcher::onWindowManagerStarted(std::function<void()> callback) {
  return impl_->windowManagerStarted.add(std::move(callback));
}

Token DesktopWatcher::onActiveApplicationChanged(std::function<void(int32_t)> callback) {
  return impl_->activeApplicationChanged.add(std::move(callback));
}

Token DesktopWatcher::onButtonPress(std::function<void(Point)> callback) {
  impl_->watchPresses(+1);
  return impl_->buttonPress.add(std::move(callback), [weak = std::weak_ptr(impl_)] {
    if (const auto impl = weak.lock()) {
      impl->watchPresses(-1);
    }
  });
}

}  // namespace jumplark
