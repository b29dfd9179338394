#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/AttributeValue.h"

namespace jumplark {

/// Watches elements of one process. Names of notifications are those of the "AX" vocabulary, such as "AXValueChanged".
/// Main thread only. Destroying it ends all of its registrations; no call comes afterwards.
class NotificationObserver {
 public:
  virtual ~NotificationObserver() = default;
  /// Asks for a notification about an element; about the application's own element, that is about any element in it,
  /// except for the element's destruction. notificationUnsupported, notificationAlreadyRegistered, or invalidElement
  /// for one of another process.
  virtual AccessibilityError addNotification(const ElementRef& element, const std::string& name) = 0;
  /// notificationNotRegistered when there was none.
  virtual AccessibilityError removeNotification(const ElementRef& element, const std::string& name) = 0;
  /// Notifications are delivered between start and stop; those that come at other times are lost.
  virtual void start() = 0;
  virtual void stop() = 0;
};

/// What applications tell when something in them changes. Nothing is asked of an application that nobody watches.
class AccessibilityNotifications {
 public:
  /// Called on the main queue with the element that was registered.
  using Callback = std::function<void(const ElementRef& element, const std::string& name)>;

  virtual ~AccessibilityNotifications() = default;
  /// Null when the process has no interface that could be watched. Main thread only.
  virtual std::unique_ptr<NotificationObserver> createObserver(int32_t pid, Callback callback) = 0;
};

}  // namespace jumplark
