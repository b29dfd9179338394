#include "backends/linux/wayland/surfaces/BoundedQueue.h"

#include <poll.h>
#include <wayland-client.h>

#include <cerrno>
#include <chrono>

#include "backends/linux/wayland/surfaces/Owned.h"

namespace jumplark::wayland {

using Clock = std::chrono::steady_clock;

BoundedQueue::BoundedQueue(wl_display* display) : display_(display), queue_(wl_display_create_queue(display)) {}

BoundedQueue::~BoundedQueue() {
  wl_event_queue_destroy(queue_);
}

bool BoundedQueue::readEvents(Duration limit) {
  if (wl_display_prepare_read_queue(display_, queue_) != 0) {
    return true;
  }
  // A full socket is written to on from the next round.
  const bool isFull = wl_display_flush(display_) < 0 && errno == EAGAIN;
  pollfd socket{wl_display_get_fd(display_), static_cast<short>(isFull ? POLLIN | POLLOUT : POLLIN), 0};
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(limit);
  const int ready = ::poll(&socket, 1, static_cast<int>(wait.count()));
  if (ready > 0 && (socket.revents & POLLIN) != 0) {
    return wl_display_read_events(display_) >= 0;
  }
  wl_display_cancel_read(display_);
  return ready > 0 ? (socket.revents & POLLOUT) != 0 : ready < 0 && errno == EINTR;
}

bool BoundedQueue::wait(const std::function<bool()>& done, Duration limit) {
  const Clock::time_point end = Clock::now() + limit;
  while (!done()) {
    const auto left = end - Clock::now();
    if (left <= Clock::duration::zero() || !readEvents(std::chrono::duration_cast<Duration>(left)) ||
        wl_display_dispatch_queue_pending(display_, queue_) < 0) {
      return done();
    }
  }
  return true;
}

bool BoundedQueue::synchronize(Duration limit) {
  auto* wrapper = static_cast<wl_display*>(wl_proxy_create_wrapper(display_));
  wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(wrapper), queue_);
  const Owned<wl_callback> answer(wl_display_sync(wrapper));
  wl_proxy_wrapper_destroy(wrapper);
  bool answered = false;
  static constexpr wl_callback_listener kListener = {
      [](void* data, wl_callback*, uint32_t) { *static_cast<bool*>(data) = true; }};
  wl_callback_add_listener(answer.get(), &kListener, &answered);
  return wait([&] { return answered; }, limit);
}

}  // namespace jumplark::wayland
