#include "backends/linux/x11/DesktopWatcher.h"

#include <unistd.h>
#include <xcb/xinput.h>

#include <mutex>
#include <utility>

#include "backends/linux/system/PostedSlots.h"
#include "backends/linux/x11/EventThread.h"
#include "backends/linux/x11/KeyboardEvents.h"
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

  PostedSlots<int32_t> activeApplicationChanged;
  PostedSlots<Point> buttonPress;

 private:
  void handle(const xcb_generic_event_t& event);
  void activeWindowChanged();
  void handlePress(uint32_t button);

  std::shared_ptr<X11Connection> x_;
  TaskQueue& queue_;
  std::mutex pressMutex_;
  int pressWatchers_ = 0;
  int32_t activePid_ = -1;  ///< the thread's own
  EventThread thread_{x_, [this](const xcb_generic_event_t& event) { handle(event); }};
};

DesktopWatcher::Impl::Impl(std::shared_ptr<X11Connection> connection, TaskQueue& queue)
    : x_(std::move(connection)), queue_(queue) {
  const uint32_t properties = XCB_EVENT_MASK_PROPERTY_CHANGE;
  x_->check(xcb_change_window_attributes_checked(x_->get(), x_->root(), XCB_CW_EVENT_MASK, &properties));
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

void DesktopWatcher::Impl::handle(const xcb_generic_event_t& event) {
  const uint8_t type = event.response_type & 0x7FU;
  if (type == XCB_PROPERTY_NOTIFY) {
    const auto& property = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    if (property.state == XCB_PROPERTY_NEW_VALUE && property.atom == x_->atom(Atom::netActiveWindow)) {
      activeWindowChanged();
    }
  } else if (x11::isInputEvent(*x_, event)) {
    const auto& raw = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
    if (raw.event_type == XCB_INPUT_RAW_BUTTON_PRESS) {
      handlePress(raw.detail);
    }
  }
}

void DesktopWatcher::Impl::activeWindowChanged() {
  const int32_t pid = activeApplication();
  if (pid > 0 && std::exchange(activePid_, pid) != pid) {
    activeApplicationChanged.post(queue_, pid);
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
