#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

#include "accessibility/JLElement.h"
#include "platform/AccessibilityNotifications.h"

namespace jumplark {

/// Watches the elements of one process and hands each notification to the handler of that element and notification. A
/// fresh model of an element finds the handlers that were stored under another one. Main thread only; handlers run
/// there, and may subscribe, unsubscribe, and destroy the observer.
class ZAXObserver {
 public:
  using Handler =
      std::function<void(const JLElement::Pointer& element, const std::string& notification, ZAXObserver& observer)>;

  /// A started observer; null when the process cannot be watched.
  static std::unique_ptr<ZAXObserver> initWithPid(int32_t pid);
  ZAXObserver(const ZAXObserver&) = delete;
  ZAXObserver& operator=(const ZAXObserver&) = delete;
  ~ZAXObserver();

  /// Notifications reach handlers between start and stop.
  void start();
  void stop();

  /// True when the platform has accepted; only then the handler is stored, in place of an earlier one. Throws
  /// std::logic_error without an element or a handler.
  bool subscribeToNotificationForElementWithBlock(const std::string& notification, const JLElement::Pointer& element,
                                                  Handler block);
  /// True when the platform has accepted; only then the handler is gone. Throws std::logic_error without an element.
  bool unsubscribeFromNotificationForElement(const std::string& notification, const JLElement::Pointer& element);
  /// Calls the handler; does nothing when there is none.
  void notificationReceivedForElement(const std::string& notification, const JLElement::Pointer& element);

 private:
  struct Hash {
    size_t operator()(const JLElement::Pointer& element) const { return element->hash(); }
  };
  struct Equal {
    bool operator()(const JLElement::Pointer& a, const JLElement::Pointer& b) const { return *a == *b; }
  };
  using Blocks = std::unordered_map<std::string, Handler>;

  ZAXObserver() = default;

  std::unordered_map<JLElement::Pointer, Blocks, Hash, Equal> notificationBlocksByElements_;
  std::unique_ptr<NotificationObserver> observer_;  ///< last, so that it ends first
};

}  // namespace jumplark
