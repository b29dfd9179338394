#pragma once

#include <xcb/xcb.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "backends/linux/x11/X11Connection.h"

namespace jumplark {

/// A thread that reads the events of one connection. Handlers run on it and must not throw; they may wait for replies
/// on the connection. When the X server goes away the thread stays, and nothing is called any more.
class EventThread {
 public:
  using EventHandler = std::function<void(const xcb_generic_event_t& event)>;

  /// `onTimer` is called once after every startTimer, unless that has been called again before.
  EventThread(std::shared_ptr<X11Connection> connection, EventHandler onEvent, std::function<void()> onTimer = {});
  EventThread(const EventThread&) = delete;
  EventThread& operator=(const EventThread&) = delete;
  ~EventThread();

  /// Begins; once.
  void start();
  /// Makes the thread look at events that the caller has read while it waited for a reply on this connection. To be
  /// called after every such wait on another thread.
  void wake();
  /// From the event handler only: calls the timer handler this long from now, instead of at an earlier set time.
  void startTimer(std::chrono::milliseconds delay);
  /// Ends the thread and waits for it; nothing is called afterwards. Not to be called on the thread itself.
  void stop();

 private:
  using Clock = std::chrono::steady_clock;

  void run();
  void handleQueuedEvents();
  void waitForInput();
  int millisecondsToTimer() const;

  std::shared_ptr<X11Connection> x_;
  EventHandler onEvent_;
  std::function<void()> onTimer_;
  std::optional<Clock::time_point> timer_;  ///< the thread's own
  int wakeFd_;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
};

}  // namespace jumplark
