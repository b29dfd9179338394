#pragma once

#include <functional>

#include "platform/Queues.h"

struct wl_display;
struct wl_event_queue;

namespace jumplark::wayland {

/// Events that are waited for, on a connection whose other events somebody else dispatches: waiting handles those of
/// this queue only, and ends in time whatever the compositor does. Main thread only.
class BoundedQueue {
 public:
  /// The connection must outlive it.
  explicit BoundedQueue(wl_display* display);
  ~BoundedQueue();
  BoundedQueue(const BoundedQueue&) = delete;
  BoundedQueue& operator=(const BoundedQueue&) = delete;

  wl_event_queue* get() const { return queue_; }
  wl_display* display() const { return display_; }

  /// Sends what is to be sent and handles events until `done`; false when the time is over before, or the connection is
  /// broken.
  bool wait(const std::function<bool()>& done, Duration limit);
  /// Returns when the compositor has carried out every request made so far; false as above.
  bool synchronize(Duration limit);

 private:
  /// Events have been read, or there were some; false when none came in time.
  bool readEvents(Duration limit);

  wl_display* display_;
  wl_event_queue* queue_;
};

}  // namespace jumplark::wayland
