#include "backends/recorded/RecordedNotifications.h"

#include "backends/recorded/RecordedAccessibility.h"

namespace jumplark {

class RecordedNotifications::Observer final : public NotificationObserver {
 public:
  Observer(RecordedNotifications& owner, int32_t pid, std::shared_ptr<Watch> watch)
      : owner_(owner), watches_(owner.watches_), pid_(pid), watch_(std::move(watch)) {
    watches_->push_back(watch_);
  }
  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;
  ~Observer() override {
    std::erase(*watches_, watch_);
    watch_->callback->end();
  }

  AccessibilityError addNotification(const ElementRef& element, const std::string& name) override {
    const auto process = owner_.accessibility_.processIdentifier(element);
    if (!process.ok() || process.value != pid_) {
      return AccessibilityError::invalidElement;
    }
    if (!name.starts_with("AX")) {
      return AccessibilityError::notificationUnsupported;
    }
    const bool isNew = watch_->registered.emplace(element.text(), name).second;
    return isNew || owner_.acceptsAgain ? AccessibilityError::success
                                        : AccessibilityError::notificationAlreadyRegistered;
  }
  AccessibilityError removeNotification(const ElementRef& element, const std::string& name) override {
    return watch_->registered.erase({element.text(), name}) > 0 ? AccessibilityError::success
                                                                : AccessibilityError::notificationNotRegistered;
  }
  void start() override { watch_->isStarted = true; }
  void stop() override { watch_->isStarted = false; }

 private:
  RecordedNotifications& owner_;
  std::shared_ptr<Watches> watches_;
  int32_t pid_;
  std::shared_ptr<Watch> watch_;
};

std::unique_ptr<NotificationObserver> RecordedNotifications::createObserver(int32_t pid, Callback callback) {
  if (!accessibility_.copyAttributeNames(accessibility_.createApplication(pid)).ok()) {
    return nullptr;
  }
  auto watch = std::make_shared<Watch>();
  watch->callback = std::make_shared<Guarded>(std::move(callback));
  return std::make_unique<Observer>(*this, pid, std::move(watch));
}

void RecordedNotifications::notify(const std::string& id, const std::string& name) {
  for (const auto& watch : *watches_) {
    if (watch->registered.contains({id, name})) {
      queues_.mainQueue().post([&queues = queues_, watch, element = accessibility_.element(id), name] {
        if (watch->isStarted) {
          watch->callback->call(queues, element, name);
        }
      });
    }
  }
}

std::vector<std::pair<std::string, std::string>> RecordedNotifications::registered() const {
  std::vector<std::pair<std::string, std::string>> all;
  for (const auto& watch : *watches_) {
    all.insert(all.end(), watch->registered.begin(), watch->registered.end());
  }
  return all;
}

}  // namespace jumplark
