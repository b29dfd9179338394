#include "backends/linux/x11/X11Screens.h"

#include <xcb/randr.h>

#include <algorithm>
#include <utility>

#include "backends/linux/system/PostedSlots.h"
#include "backends/linux/windows/ScreenOrder.h"
#include "backends/linux/x11/EventThread.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/WorkAreas.h"

namespace jumplark {
namespace {

using x11::takeReply;

std::vector<Monitor> readMonitors(const X11Connection& x) {
  std::vector<Monitor> result;
  if (x.extensions().randr >= 105) {
    const auto reply = takeReply(x.get(), xcb_randr_get_monitors_reply, xcb_randr_get_monitors(x.get(), x.root(), 1));
    auto monitors = reply ? xcb_randr_get_monitors_monitors_iterator(reply.get()) : xcb_randr_monitor_info_iterator_t{};
    for (; monitors.rem > 0; xcb_randr_monitor_info_next(&monitors)) {
      const auto& m = *monitors.data;
      const Rect rect{double(m.x), double(m.y), double(m.width), double(m.height)};
      // Mirrored monitors show the same part.
      if (m.width > 0 && m.height > 0 && std::ranges::find(result, rect, &Monitor::rect) == result.end()) {
        result.push_back({rect, m.primary != 0});
      }
    }
  }
  if (result.empty()) {
    if (const auto root = takeReply(x.get(), xcb_get_geometry_reply, xcb_get_geometry(x.get(), x.root()))) {
      result.push_back({Rect{0, 0, double(root->width), double(root->height)}, true});
    }
  }
  return result;
}

// Pixels of the root, top-left origin, the first one first.
std::vector<Rect> readRects(const X11Connection& x) {
  return inOrder(readMonitors(x));
}

std::vector<Rect> readFrames(const X11Connection& x) {
  std::vector<Rect> rects = readRects(x);
  const double top = rects.empty() ? 0 : rects.front().maxY();
  return fromBottom(std::move(rects), top);
}

}  // namespace

/// Reads the frames again whenever the X server reports a change of monitors or of the root window; which of the two
/// events comes depends on how the change was made.
class X11Screens::Watcher {
 public:
  Watcher(std::shared_ptr<X11Connection> connection, TaskQueue& mainQueue)
      : x_(std::move(connection)), mainQueue_(mainQueue) {
    const uint32_t structure = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    const auto selected = xcb_change_window_attributes_checked(x_->get(), x_->root(), XCB_CW_EVENT_MASK, &structure);
    if (x_->extensions().randr > 0) {
      x_->check(xcb_randr_select_input_checked(x_->get(), x_->root(),
                                               XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                                   XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE));
    }
    x_->check(selected);
    frames_ = readFrames(*x_);
    thread_.start();
  }
  ~Watcher() { thread_.stop(); }

  /// As of the last change that the X server told of.
  std::vector<Rect> frames() {
    const std::lock_guard lock(mutex_);
    return frames_;
  }

  Token add(std::function<void()> callback) { return slots_.add(std::move(callback)); }

 private:
  void handle(const xcb_generic_event_t& event) {
    const int type = event.response_type & 0x7F;
    const int randr = x_->extensions().randrFirstEvent;
    const bool monitors = x_->extensions().randr > 0 &&
                          (type == randr + XCB_RANDR_SCREEN_CHANGE_NOTIFY || type == randr + XCB_RANDR_NOTIFY);
    if (!monitors && type != XCB_CONFIGURE_NOTIFY) {
      return;
    }
    std::vector<Rect> changed = readFrames(*x_);
    const std::lock_guard lock(mutex_);
    if (changed.empty() || changed == frames_) {
      return;
    }
    frames_ = std::move(changed);
    slots_.post(mainQueue_);
  }

  std::shared_ptr<X11Connection> x_;
  TaskQueue& mainQueue_;
  std::mutex mutex_;
  PostedSlots<> slots_;
  std::vector<Rect> frames_;
  EventThread thread_{x_, [this](const xcb_generic_event_t& event) { handle(event); }};
};

X11Screens::X11Screens(std::shared_ptr<X11Connection> connection, TaskQueue& mainQueue)
    : x_(std::move(connection)), mainQueue_(mainQueue) {}

X11Screens::~X11Screens() = default;

std::vector<Rect> X11Screens::frames() {
  return readFrames(*x_);
}

Rect X11Screens::primaryFrame() {
  const auto watching = watcher();
  const std::vector<Rect> all = watching ? watching->frames() : frames();
  return all.empty() ? Rect{} : all.front();
}

std::vector<Rect> X11Screens::workAreas() {
  const std::vector<Rect> rects = readRects(*x_);
  return rects.empty() ? rects : fromBottom(x11::workAreas(*x_, rects), rects.front().maxY());
}

Point X11Screens::pointerLocation() {
  const auto pointer = takeReply(x_->get(), xcb_query_pointer_reply, xcb_query_pointer(x_->get(), x_->root()));
  const Rect primary = primaryFrame();
  if (!pointer || primary == Rect{}) {
    return {};
  }
  return {double(pointer->root_x), primary.maxY() - pointer->root_y - 1};
}

std::shared_ptr<X11Screens::Watcher> X11Screens::watcher() {
  const std::lock_guard lock(mutex_);
  if (!watcher_) {
    if (auto opened = X11Connection::open(x_->displayName()); opened.connection) {
      watcher_ = std::make_shared<Watcher>(std::move(opened.connection), mainQueue_);
    }
  }
  return watcher_;
}

Token X11Screens::onFramesChanged(std::function<void()> callback) {
  if (const auto watching = watcher()) {
    return watching->add(std::move(callback));
  }
  return {};
}

}  // namespace jumplark
