#include "backends/linux/atspi/vocabulary/AtspiNotifications.h"

#include <algorithm>
#include <atomic>
#include <list>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include "backends/linux/atspi/bus/EventListener.h"
#include "backends/linux/atspi/element/ElementFacts.h"
#include "backends/threads/GuardedCallback.h"
#include "platform/Queues.h"

namespace jumplark::atspi {
namespace {

constexpr const char* kDestroyed = "AXUIElementDestroyed";
constexpr const char* kWindowCreated = "AXWindowCreated";

/// Whom an observer's notifications go to.
struct Receiver {
  explicit Receiver(AccessibilityNotifications::Callback to) : callback(std::move(to)) {}

  GuardedCallback<const ElementRef&, const std::string&> callback;
  std::atomic<bool> isStarted{false};
};

struct Registration {
  std::shared_ptr<Receiver> receiver;
  ElementRef element;
  std::string name;
  bool isApplication = false;  ///< the element is its application's own
  std::vector<EventKind> kinds;
  std::set<std::string> windows;  ///< of the application, that are known
  bool isOver = false;            ///< the element was destroyed

  const AtspiHandle& handle() const { return *handleOf(element); }
};

/// Whether an event that fits one of the registration's kinds is about what is watched.
bool concerns(Registration& registration, const EventKind& kind, const BusEvent& event) {
  const AtspiHandle& watched = registration.handle();
  const std::string& about = kind.about == EventKind::About::other ? event.otherPath : event.path;
  if (registration.name == kWindowCreated) {
    const bool isWindow = kind.about == EventKind::About::source || event.path == watched.path();
    return registration.isApplication && isWindow && registration.windows.insert(about).second;
  }
  return about == watched.path() || (registration.isApplication && registration.name != kDestroyed);
}

/// What an event makes happen; called with the lock held.
bool tells(Registration& registration, const BusEvent& event) {
  if (registration.isOver || event.sender != registration.handle().busName()) {
    return false;
  }
  if (event.interface == "Window" && event.member == "Destroy") {
    registration.windows.erase(event.path);
  }
  const bool told = std::ranges::any_of(registration.kinds, [&](const EventKind& kind) {
    return kind.fits(event) && concerns(registration, kind, event);
  });
  registration.isOver = told && registration.name == kDestroyed;
  return told;
}

}  // namespace

/// What is registered, by all observers. Changed on the main thread, looked through on the listener's.
class AtspiNotifications::Registrations {
 public:
  Registrations(Queues& queues, std::string sessionAddress)
      : queues_(queues), sessionAddress_(std::move(sessionAddress)) {}

  AccessibilityError add(Registration registration) {
    if (find(registration.receiver, registration.element, registration.name) != all_.end()) {
      return AccessibilityError::notificationAlreadyRegistered;
    }
    if (!listener_) {
      listener_ = std::make_unique<EventListener>(sessionAddress_, [this](const BusEvent& event) { deliver(event); });
    }
    const std::string busName = registration.handle().busName();
    const std::vector<EventKind> kinds = registration.kinds;
    {
      // Before its events are asked for, lest one that comes at once be lost.
      const std::scoped_lock lock(mutex_);
      all_.push_front(std::move(registration));
    }
    if (listener_->want(busName, kinds)) {
      return AccessibilityError::success;
    }
    erase(all_.begin());
    return AccessibilityError::cannotComplete;
  }

  AccessibilityError remove(const std::shared_ptr<Receiver>& receiver, const ElementRef& element,
                            const std::string& name) {
    const auto found = find(receiver, element, name);
    if (found == all_.end()) {
      return AccessibilityError::notificationNotRegistered;
    }
    erase(found);
    return AccessibilityError::success;
  }

  void removeAll(const std::shared_ptr<Receiver>& receiver) {
    for (auto next = all_.begin(); next != all_.end();) {
      const auto at = next++;
      if (at->receiver == receiver) {
        erase(at);
      }
    }
  }

 private:
  using Position = std::list<Registration>::iterator;

  Position find(const std::shared_ptr<Receiver>& receiver, const ElementRef& element, const std::string& name) {
    return std::ranges::find_if(all_, [&](const Registration& registration) {
      return registration.receiver == receiver && registration.element == element && registration.name == name;
    });
  }

  void erase(Position position) {
    listener_->unwant(position->handle().busName(), position->kinds);
    {
      const std::scoped_lock lock(mutex_);
      all_.erase(position);
    }
    if (all_.empty()) {
      listener_.reset();
    }
  }

  void deliver(const BusEvent& event) {
    const std::scoped_lock lock(mutex_);
    for (Registration& registration : all_) {
      if (tells(registration, event)) {
        queues_.mainQueue().post([&queues = queues_, receiver = registration.receiver, element = registration.element,
                                  name = registration.name] {
          if (receiver->isStarted) {
            receiver->callback.call(queues, element, name);
          }
        });
      }
    }
  }

  Queues& queues_;
  const std::string sessionAddress_;
  std::mutex mutex_;  ///< guards the list against the listener's thread; never held while something is waited for
  std::list<Registration> all_;
  std::unique_ptr<EventListener> listener_;  ///< last, so that its thread ends first
};

class AtspiNotifications::Observer final : public NotificationObserver {
 public:
  Observer(std::shared_ptr<const World> world, std::shared_ptr<Registrations> registrations, ElementRef application,
           Callback callback)
      : world_(std::move(world)),
        registrations_(std::move(registrations)),
        application_(std::move(application)),
        receiver_(std::make_shared<Receiver>(std::move(callback))) {}
  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;
  ~Observer() override {
    registrations_->removeAll(receiver_);
    receiver_->callback.end();
  }

  AccessibilityError addNotification(const ElementRef& element, const std::string& name) override {
    const AtspiHandle* const handle = handleOf(element);
    if (handle == nullptr || handle->busName() != handleOf(application_)->busName()) {
      return AccessibilityError::invalidElement;
    }
    std::vector<EventKind> kinds = eventsFor(name);
    if (kinds.empty()) {
      return AccessibilityError::notificationUnsupported;
    }
    Registration registration{receiver_, element, name, element == application_, std::move(kinds), {}, false};
    if (name == kWindowCreated) {
      for (const ElementRef& window : world_->windowsOf(application_)) {
        registration.windows.insert(handleOf(window)->path());
      }
    }
    return registrations_->add(std::move(registration));
  }
  AccessibilityError removeNotification(const ElementRef& element, const std::string& name) override {
    return registrations_->remove(receiver_, element, name);
  }
  void start() override { receiver_->isStarted = true; }
  void stop() override { receiver_->isStarted = false; }

 private:
  const std::shared_ptr<const World> world_;
  const std::shared_ptr<Registrations> registrations_;
  const ElementRef application_;
  const std::shared_ptr<Receiver> receiver_;
};

AtspiNotifications::AtspiNotifications(Queues& queues, World world)
    : world_(std::make_shared<const World>(std::move(world))),
      registrations_(std::make_shared<Registrations>(queues, world_->sessionAddress)) {}

AtspiNotifications::~AtspiNotifications() = default;

std::unique_ptr<NotificationObserver> AtspiNotifications::createObserver(int32_t pid, Callback callback) {
  ElementRef application = world_->applicationOf(pid);
  if (!handleOf(application)) {
    return nullptr;
  }
  return std::make_unique<Observer>(world_, registrations_, std::move(application), std::move(callback));
}

}  // namespace jumplark::atspi
