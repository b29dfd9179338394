#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/AccessibilityNotifications.h"

namespace jumplark {
class Queues;
}

namespace jumplark::atspi {

/// Notifications from the events on the accessibility bus. There is a connection for them only while something is
/// watched. An element that has been destroyed tells so once, however many events say it; so does a window that is
/// made. Qt tells of no destruction.
class AtspiNotifications final : public AccessibilityNotifications {
 public:
  struct World {
    std::function<ElementRef(int32_t pid)> applicationOf;  ///< none for a process without an interface
    std::function<std::vector<ElementRef>(const ElementRef& application)> windowsOf;
    std::string sessionAddress = {};  ///< empty: that of the environment
  };
  /// The queues outlive this and the observers.
  AtspiNotifications(Queues& queues, World world);
  AtspiNotifications(const AtspiNotifications&) = delete;
  AtspiNotifications& operator=(const AtspiNotifications&) = delete;
  ~AtspiNotifications() override;

  std::unique_ptr<NotificationObserver> createObserver(int32_t pid, Callback callback) override;

 private:
  class Registrations;
  class Observer;

  const std::shared_ptr<const World> world_;
  std::shared_ptr<Registrations> registrations_;
};

}  // namespace jumplark::atspi
