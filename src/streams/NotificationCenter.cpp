#include "streams/NotificationCenter.h"

#include <atomic>
#include <vector>

namespace jumplark {

// The recursive mutex is held during the call: removal from another thread waits for it, removal from the call itself
// does not.
struct NotificationCenter::Registration {
  explicit Registration(Observer callback) : observer(std::move(callback)) {}
  std::recursive_mutex calling;
  bool ended = false;
  Observer observer;
};

NotificationCenter& NotificationCenter::defaultCenter() {
  static NotificationCenter center;
  return center;
}

Token NotificationCenter::observe(const std::string& name, Observer observer) {
  auto registration = std::make_shared<Registration>(std::move(observer));
  {
    const std::lock_guard lock(mutex_);
    registrations_.emplace(name, registration);
  }
  return Token([this, name, registration] {
    {
      const std::lock_guard lock(mutex_);
      const auto [first, last] = registrations_.equal_range(name);
      for (auto entry = first; entry != last; ++entry) {
        if (entry->second == registration) {
          registrations_.erase(entry);
          break;
        }
      }
    }
    const std::lock_guard waitForCall(registration->calling);
    registration->ended = true;
  });
}

void NotificationCenter::post(const Notification& notification) {
  std::vector<std::shared_ptr<Registration>> observers;
  {
    const std::lock_guard lock(mutex_);
    const auto [first, last] = registrations_.equal_range(notification.name);
    for (auto entry = first; entry != last; ++entry) {
      observers.push_back(entry->second);
    }
  }
  for (const auto& registration : observers) {
    const std::lock_guard call(registration->calling);
    if (!registration->ended) {
      registration->observer(notification);
    }
  }
}

}  // namespace jumplark
