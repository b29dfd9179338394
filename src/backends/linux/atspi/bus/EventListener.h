#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "backends/linux/atspi/bus/EventMap.h"

namespace jumplark::atspi {

/// Receives events of applications, on a connection to the accessibility bus and a thread of its own. Applications send
/// an event only while somebody has registered for it, so events are registered one by one, and only for as long as
/// they are wanted. When the bus goes away, nothing comes any more.
class EventListener {
 public:
  /// `onEvent` is called on the thread, only with events that were wanted; it may not wait for this object.
  EventListener(std::string sessionAddress, std::function<void(const BusEvent&)> onEvent);
  EventListener(const EventListener&) = delete;
  EventListener& operator=(const EventListener&) = delete;
  /// Unregisters everything; no call comes afterwards.
  ~EventListener();

  /// Wants events of an application from now on; each kind once more. False when the bus does not take it within some
  /// seconds.
  bool want(const std::string& sender, const std::vector<EventKind>& kinds);
  /// As often as it was wanted.
  void unwant(const std::string& sender, const std::vector<EventKind>& kinds);

 private:
  struct Bus;

  void post(std::function<void()> task);
  void run();
  void runPosted();
  void sleep();
  bool connect();
  bool add(const std::string& sender, const EventKind& kind);
  void remove(const std::string& sender, const EventKind& kind);

  const std::string sessionAddress_;
  const std::function<void(const BusEvent&)> onEvent_;
  const int wakeFd_;
  std::atomic<bool> stopping_{false};
  std::mutex mutex_;
  std::vector<std::function<void()>> posted_;

  // The thread's own.
  std::unique_ptr<Bus> bus_;
  std::map<std::string, int> registered_;  ///< how often each event is wanted

  std::thread thread_;
};

}  // namespace jumplark::atspi
