#include "overlay/JLDiscoveryController.h"

#include <chrono>
#include <mutex>
#include <utility>

#include "accessibility/JLElement.h"
#include "overlay/DiscoveryDetails.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Screens.h"
#include "streams/NotificationCenter.h"
#include "tree/JLElementNode.h"

namespace jumplark {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

using Element = std::shared_ptr<JLElement>;

constexpr auto kTick = milliseconds(400);
constexpr auto kTickLeeway = seconds(60);
constexpr auto kSelectionRest = seconds(1);

Point pointerLocation() {
  return Platform::current().screens->pointerLocation();
}

bool same(const Element& a, const Element& b) {
  return a == b || (a && b && *a == *b);
}

}  // namespace

/// Tasks of the queue refer to it weakly; it ends with the controller.
struct JLDiscoveryController::State {
  const std::shared_ptr<DiscoveryDetails> details = std::make_shared<DiscoveryDetails>();

  std::mutex mutex;
  bool enabled = true;
  bool isActive = false;
  bool isShowing = false;
  Point initialPosition;
  Point lastPosition;
  Element currentElement;
  uint64_t activations = 0;
  uint64_t selections = 0;  ///< grows with all that makes the details void that a selection waits for

  void tickIfActive();
  void tick(uint64_t activation);
  void pass(uint64_t selection, const Element& element);

 private:
  struct Finding {
    enum { nothing, rested, left } what = nothing;
    uint64_t request = 0;
  };
  Finding noteFinding(uint64_t activation, Point pointer, const Element& element);
};

void JLDiscoveryController::State::tickIfActive() {
  uint64_t activation = 0;
  {
    const std::lock_guard lock(mutex);
    if (!isActive) {
      return;
    }
    activation = activations;
  }
  tick(activation);
}

void JLDiscoveryController::State::tick(uint64_t activation) {
  const Point pointer = pointerLocation();
  {
    const std::lock_guard lock(mutex);
    if (pointer == initialPosition) {
      return;
    }
  }
  const Element element = JLElement::elementAtPointFromBottomLeft(pointer);
  const Finding finding = noteFinding(activation, pointer, element);
  if (finding.what == Finding::rested) {
    details->show(finding.request, element, true);
  } else if (finding.what == Finding::left) {
    details->hide();
  }
}

JLDiscoveryController::State::Finding JLDiscoveryController::State::noteFinding(uint64_t activation, Point pointer,
                                                                                const Element& element) {
  Element dropped;  // not under the lock
  const std::lock_guard lock(mutex);
  if (activation != activations) {
    return {};  // the look-up took longer than the activation
  }
  Finding finding;
  if (pointer == lastPosition && !isShowing) {
    finding = {Finding::rested, details->nextRequest()};
    dropped = std::exchange(currentElement, element);
    isShowing = true;
  } else if (isShowing && !same(element, currentElement)) {
    finding.what = Finding::left;
    dropped = std::exchange(currentElement, nullptr);
    isShowing = false;
  }
  lastPosition = pointer;
  return finding;
}

void JLDiscoveryController::State::pass(uint64_t selection, const Element& element) {
  uint64_t request = 0;
  {
    const std::lock_guard lock(mutex);
    if (selection != selections || !isActive) {
      return;
    }
    request = details->nextRequest();
  }
  details->show(request, element, false);
}

JLDiscoveryController::JLDiscoveryController()
    : state_(std::make_shared<State>()),
      queue_(Platform::current().queues->makeSerialQueue("com.brindlefox.jumplark.discovery-timer")) {
  timer_ = Platform::current().queues->makeRepeatingTimer(*queue_, kTick, kTick, kTickLeeway,
                                                          [weak = std::weak_ptr(state_)] {
                                                            if (const auto state = weak.lock()) {
                                                              state->tickIfActive();
                                                            }
                                                          });
  observation_ = NotificationCenter::defaultCenter().observe(
      "ElementSelectionChanged", [this](const Notification& notification) { selectionChanged(notification); });
}

JLDiscoveryController::~JLDiscoveryController() {
  observation_.reset();
  timer_ = nullptr;
  queue_ = nullptr;
}

void JLDiscoveryController::activate() {
  const Point pointer = pointerLocation();
  {
    const std::lock_guard lock(state_->mutex);
    ++state_->selections;
    if (!state_->enabled || state_->isActive) {
      return;
    }
    state_->initialPosition = state_->lastPosition = pointer;
    state_->isActive = true;
    ++state_->activations;
  }
  startTimer();
}

void JLDiscoveryController::deactivate() {
  {
    const std::lock_guard lock(state_->mutex);
    ++state_->selections;
    if (!state_->isActive) {
      return;
    }
    state_->isActive = false;
    ++state_->activations;
  }
  hideElementDetails();
  stopTimer();
}

// The timer is resumed and suspended on its own queue: suspending it here would wait for a look-up that is under way.
void JLDiscoveryController::startTimer() {
  queue_->post([weak = std::weak_ptr(timer_)] {
    if (const auto timer = weak.lock()) {
      timer->resume();
    }
  });
}

void JLDiscoveryController::stopTimer() {
  queue_->post([weak = std::weak_ptr(timer_)] {
    if (const auto timer = weak.lock()) {
      timer->suspend();
    }
  });
}

bool JLDiscoveryController::enabled() const {
  const std::lock_guard lock(state_->mutex);
  return state_->enabled;
}

void JLDiscoveryController::setEnabled(bool enabled) {
  const std::lock_guard lock(state_->mutex);
  state_->enabled = enabled;
}

bool JLDiscoveryController::isActive() const {
  const std::lock_guard lock(state_->mutex);
  return state_->isActive;
}

bool JLDiscoveryController::isShowing() const {
  const std::lock_guard lock(state_->mutex);
  return state_->isShowing;
}

std::shared_ptr<JLElement> JLDiscoveryController::currentElement() const {
  const std::lock_guard lock(state_->mutex);
  return state_->currentElement;
}

Point JLDiscoveryController::initialPosition() const {
  const std::lock_guard lock(state_->mutex);
  return state_->initialPosition;
}

Point JLDiscoveryController::lastPosition() const {
  const std::lock_guard lock(state_->mutex);
  return state_->lastPosition;
}

void JLDiscoveryController::checkMousePosition() {
  uint64_t activation = 0;
  {
    const std::lock_guard lock(state_->mutex);
    activation = state_->activations;
  }
  state_->tick(activation);
}

void JLDiscoveryController::showDetailsOfElementHighlight(const Element& element, bool highlight) {
  state_->details->show(state_->details->nextRequest(), element, highlight);
}

void JLDiscoveryController::hideElementDetails() {
  state_->details->hide();
}

void JLDiscoveryController::selectionChanged(const Notification& notification) {
  const auto* node = std::any_cast<std::shared_ptr<JLElementNode>>(&notification.object);
  uint64_t selection = 0;
  {
    const std::lock_guard lock(state_->mutex);
    selection = ++state_->selections;
  }
  if (node && *node) {
    queue_->postAfter(kSelectionRest, [weak = std::weak_ptr(state_), selection, element = (*node)->element()] {
      if (const auto state = weak.lock()) {
        state->pass(selection, element);
      }
    });
  }
  hideElementDetails();
}

}  // namespace jumplark
