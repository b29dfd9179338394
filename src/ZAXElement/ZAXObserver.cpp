#include "ZAXElement/ZAXObserver.h"

#include <stdexcept>
#include <utility>

#include "accessibility/JLAXElement.h"
#include "platform/Platform.h"

namespace jumplark {
namespace {

void require(bool holds, const char* condition) {
  if (!holds) {
    throw std::logic_error(std::string("Invalid parameter not satisfying: ") + condition);
  }
}

constexpr const char* kIsElement = "element != nil && [element isKindOfClass:[JLElement class]]";

}  // namespace

std::unique_ptr<ZAXObserver> ZAXObserver::initWithPid(int32_t pid) {
  AccessibilityNotifications* const platform = Platform::current().notifications;
  if (platform == nullptr) {
    return nullptr;
  }
  std::unique_ptr<ZAXObserver> wrapper(new ZAXObserver);
  wrapper->observer_ =
      platform->createObserver(pid, [self = wrapper.get()](const ElementRef& element, const std::string& notification) {
        self->notificationReceivedForElement(notification,
                                             JLElement::elementWithJLAXElement(std::make_shared<JLAXElement>(element)));
      });
  if (!wrapper->observer_) {
    return nullptr;
  }
  wrapper->start();
  return wrapper;
}

ZAXObserver::~ZAXObserver() {
  if (observer_) {
    stop();
  }
}

void ZAXObserver::start() {
  observer_->start();
}

void ZAXObserver::stop() {
  observer_->stop();
}

bool ZAXObserver::subscribeToNotificationForElementWithBlock(const std::string& notification,
                                                             const JLElement::Pointer& element, Handler block) {
  require(element != nullptr, kIsElement);
  require(block != nullptr, "block != nil");
  if (observer_->addNotification(element->ref(), notification) != AccessibilityError::success) {
    return false;
  }
  notificationBlocksByElements_[element][notification] = std::move(block);
  return true;
}

bool ZAXObserver::unsubscribeFromNotificationForElement(const std::string& notification,
                                                        const JLElement::Pointer& element) {
  require(element != nullptr, kIsElement);
  if (observer_->removeNotification(element->ref(), notification) != AccessibilityError::success) {
    return false;
  }
  if (const auto blocks = notificationBlocksByElements_.find(element); blocks != notificationBlocksByElements_.end()) {
    blocks->second.erase(notification);
  }
  return true;
}

void ZAXObserver::notificationReceivedForElement(const std::string& notification, const JLElement::Pointer& element) {
  const auto blocks = notificationBlocksByElements_.find(element);
  if (blocks == notificationBlocksByElements_.end()) {
    return;
  }
  if (const auto found = blocks->second.find(notification); found != blocks->second.end()) {
    const Handler block = found->second;  // it may take itself away
    block(element, notification, *this);
  }
}

}  // namespace jumplark
