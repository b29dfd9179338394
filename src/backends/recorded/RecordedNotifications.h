#pragma once

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "backends/threads/GuardedCallback.h"
#include "platform/AccessibilityNotifications.h"

namespace jumplark {

class RecordedAccessibility;

/// Notifications of a recorded desktop, which happen when a test says so. Main thread only.
class RecordedNotifications : public AccessibilityNotifications {
 public:
  RecordedNotifications(Queues& queues, RecordedAccessibility& accessibility)
      : queues_(queues), accessibility_(accessibility), watches_(std::make_shared<Watches>()) {}

  /// Null for a process of which the recording has no interface.
  std::unique_ptr<NotificationObserver> createObserver(int32_t pid, Callback callback) override;

  /// The element of that id tells of a change; whoever watches it hears of it on the main queue.
  void notify(const std::string& id, const std::string& name);
  /// What is registered now, as element and notification.
  std::vector<std::pair<std::string, std::string>> registered() const;

  /// A second registration of the same is accepted, where it is usually refused.
  bool acceptsAgain = false;

 private:
  using Guarded = GuardedCallback<const ElementRef&, const std::string&>;
  /// One observer and what it watches.
  struct Watch {
    std::shared_ptr<Guarded> callback;
    bool isStarted = false;
    std::set<std::pair<std::string, std::string>> registered;
  };
  using Watches = std::vector<std::shared_ptr<Watch>>;
  class Observer;

  Queues& queues_;
  RecordedAccessibility& accessibility_;
  std::shared_ptr<Watches> watches_;
};

}  // namespace jumplark
