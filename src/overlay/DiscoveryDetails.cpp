#include "overlay/DiscoveryDetails.h"

#include <string>
#include <utility>

#include "accessibility/JLElement.h"
#include "overlay/JLDiscoveryViewController.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Views.h"

namespace jumplark {
namespace {

constexpr Color kHighlightColor{0, 0, 1, 0.3};
constexpr Color kClear{0, 0, 0, 0};

}  // namespace

DiscoveryDetails::DiscoveryDetails() : view_(Platform::current().views->makeDiscovery()) {
  view_->setLevel(window_level::screenSaver + 2);
}

DiscoveryDetails::~DiscoveryDetails() = default;

void DiscoveryDetails::show(uint64_t request, const std::shared_ptr<JLElement>& element, bool highlight) {
  const Rect frame = element ? element->visibleBounds() : Rect{};
  if (request != requests_) {
    return;
  }
  const std::string text = JLDiscoveryViewController::controllerForElement(element).text();
  onMainThread(request, [this, frame, text, highlight] {
    hideNow();
    view_->setAnchorFrame(frame);
    view_->setAnchorColor(highlight ? kHighlightColor : kClear);
    view_->orderFrontRegardless();
    view_->showPopover(text);
    popoverShown_ = true;
  });
}

void DiscoveryDetails::hide() {
  onMainThread(nextRequest(), [this] { hideNow(); });
}

void DiscoveryDetails::onMainThread(uint64_t request, std::function<void()> action) {
  TaskQueue& main = Platform::current().queues->mainQueue();
  if (main.isCurrent()) {
    perform(request, action);
    return;
  }
  main.post([weak = weak_from_this(), request, action = std::move(action)] {
    if (const auto self = weak.lock()) {
      self->perform(request, action);
    }
  });
}

void DiscoveryDetails::perform(uint64_t request, const std::function<void()>& action) {
  if (request == requests_) {
    action();
  }
}

void DiscoveryDetails::hideNow() {
  if (std::exchange(popoverShown_, false)) {
    view_->closePopover();
  }
  view_->orderOut();
}

}  // namespace jumplark
