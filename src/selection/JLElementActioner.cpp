#include "selection/JLElementActioner.h"

#include <chrono>
#include <cmath>
#include <optional>

#include "accessibility/JLElement.h"
#include "accessibility/ScreenCoordinates.h"
#include "platform/Accessibility.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/RandomSource.h"
#include "platform/Screens.h"
#include "streams/NotificationCenter.h"

namespace jumplark {
namespace {

using std::chrono::milliseconds;

constexpr auto kWindowRaiseWait = milliseconds(150);
constexpr auto kClickHold = milliseconds(20);
constexpr auto kDoubleClickHold = milliseconds(5);
constexpr auto kDoubleClickWindow = milliseconds(700);
constexpr int kMostProbes = 50;

// A control this low and this wide (points; width by height) has its caption beside the box.
constexpr double kCaptionedControlHeight = 20.0;
constexpr double kCaptionedControlRatio = 2.0;
constexpr double kBoxInset = 10.0;

void postMouse(uint32_t type, Point position, int64_t clickState, uint32_t location) {
  Platform::current().input->postMouseEvent({type, position, clickState}, location);
}

void wait(Duration duration) {
  Platform::current().queues->sleep(duration);
}

/// The element as it is now.
JLElementActioner::Element readAnew(const JLElementActioner::Element& element) {
  return !element || element->axElement()->live() ? element : element->live();
}

/// Where the box or circle of a small control with its caption beside it is; none for any other.
std::optional<Point> boxOfCaptionedControl(const JLElement& element) {
  const Size size = element.size();
  const bool isCaptioned = size.height <= kCaptionedControlHeight && size.width / size.height >= kCaptionedControlRatio;
  return isCaptioned ? std::optional(Point{element.position().x + kBoxInset, element.bounds().midY()}) : std::nullopt;
}

double randomOffset(double extent) {
  const auto whole = static_cast<int64_t>(extent);
  return whole > 0 ? static_cast<double>(Platform::current().random->next() % whole) : 0.0;
}

}  // namespace

JLElementActioner& JLElementActioner::sharedInstance() {
  static JLElementActioner actioner;
  return actioner;
}

JLElementActioner::JLElementActioner()
    : doubleClickEventTap_(std::make_shared<ZMOEventTap>(uint64_t{1} << event_type::keyDown)),
      self_(std::make_shared<JLElementActioner*>(this)) {
  doubleClickEventTap_->setSwallowedKeyCodes({key_code::returnKey});
}

JLElementActioner::~JLElementActioner() {
  self_.reset();
  doubleClickEventTap_->deactivate();
}

void JLElementActioner::actionElement(const Element& chosen) {
  const Element element = readAnew(chosen);
  trackUsageWithAmount("elementsActioned", 1);
  const std::string role = element ? element->role() : "";
  if (role == "AXRadioButton") {
    clickRadioButton(element);
  } else if (role == "AXCheckBox") {
    clickCheckBox(element);
  } else if (role == "AXSlider") {
    mouseToElement(element);
    focusElement(element);
  } else if (role == kWindowButtonRole) {
    performActionOnElement("AXPress", element);
  } else {
    clickElement(element);
  }
}

void JLElementActioner::clickRadioButton(const Element& element) {
  clickLeftPartOfElement(element);
}

void JLElementActioner::clickCheckBox(const Element& element) {
  clickLeftPartOfElement(element);
}

void JLElementActioner::clickLeftPartOfElement(const Element& chosen) {
  const Element element = readAnew(chosen);
  if (const auto box = element ? boxOfCaptionedControl(*element) : std::nullopt) {
    clickAt(pointFromBottomLeftToTopLeft(*box), element);
  } else {
    clickElement(element);
  }
}

Point JLElementActioner::pointOfAction(const Element& chosen) const {
  const Element element = readAnew(chosen);
  const std::string role = element ? element->role() : "";
  if (role == "AXSlider" || role == kWindowButtonRole) {
    return element->midpoint();
  }
  const bool hasBox = role == "AXRadioButton" || role == "AXCheckBox";
  const auto box = hasBox ? boxOfCaptionedControl(*element) : std::nullopt;
  return box ? *box : findClickablePointForElement(element);
}

void JLElementActioner::clickElement(const Element& chosen) {
  const Element element = readAnew(chosen);
  clickAt(pointFromBottomLeftToTopLeft(findClickablePointForElement(element)), element);
}

void JLElementActioner::clickAt(Point topLeft, const Element& element) {
  mouseToPointFromTopLeft(topLeft);
  focusWindowOrSheetForElement(element);
  click();
}

void JLElementActioner::mouseToElement(const Element& chosen) {
  const Element element = readAnew(chosen);
  mouseToPointFromTopLeft(pointFromBottomLeftToTopLeft(element ? element->midpoint() : Point{}));
}

void JLElementActioner::mouseToPointFromTopLeft(Point point) {
  const Point cursor = getCursorPosition();
  const auto dx = static_cast<float>(cursor.x - point.x);
  const auto dy = static_cast<float>(cursor.y - point.y);
  const float distance = std::sqrt(dx * dx + dy * dy);
  trackUsageWithAmount("cursorMovement", static_cast<uint64_t>(std::ceil(distance)));
  postMouse(event_type::mouseMoved, point, 0, event_location::hid);
}

void JLElementActioner::focusElement(const Element& element) {
  if (element) {
    element->focus();
  }
}

void JLElementActioner::performActionOnElement(const std::string& action, const Element& element) {
  if (element) {
    element->performAction(action);
  }
}

void JLElementActioner::focusWindowOrSheetForElement(const Element& chosen) {
  const Element element = readAnew(chosen);
  const Element window = element ? element->window() : nullptr;
  const Element sheet = window ? window->sheet() : nullptr;
  if (window) {
    window->focus();
  }
  if (sheet) {
    sheet->focus();
  }
  wait(kWindowRaiseWait);
}

void JLElementActioner::click() {
  if (waitsForDoubleClick_) {
    startDoubleClickTimer();
  }
  const Point position = getCursorPosition();
  postMouse(event_type::leftMouseDown, position, 1, event_location::session);
  wait(kClickHold);
  postMouse(event_type::leftMouseUp, position, 1, event_location::session);
}

void JLElementActioner::startDoubleClickTimer() {
  std::weak_ptr<JLElementActioner*> weak = self_;
  doubleClickEventTap_->subscribeToEventWithBlock(event_type::keyDown, [weak](const InputEvent& event, bool& stop) {
    const auto self = weak.lock();
    if (self && event.keyCode == key_code::returnKey) {
      (*self)->doubleClick();
      stop = true;
    }
  });
  doubleClickEventTap_->activate();
  // Never cancelled: after two clicks the window closes 0.7 s after the first of them.
  Platform::current().queues->mainQueue().postAfter(kDoubleClickWindow, [weak] {
    if (const auto self = weak.lock()) {
      (*self)->doubleClickEventTap_->unsubscribeFromEvent(event_type::keyDown);
      (*self)->doubleClickEventTap_->deactivate();
    }
  });
}

void JLElementActioner::doubleClick() {
  const Point position = getCursorPosition();
  postMouse(event_type::leftMouseDown, position, 2, event_location::session);
  wait(kDoubleClickHold);
  postMouse(event_type::leftMouseUp, position, 2, event_location::session);
}

Point JLElementActioner::getCursorPosition() const {
  return pointFromBottomLeftToTopLeft(Platform::current().screens->pointerLocation());
}

Point JLElementActioner::findClickablePointForElement(const Element& chosen) const {
  const Element element = readAnew(chosen);
  const Rect bounds = element ? element->bounds() : Rect{};
  const Point middle = midpointOfRect(bounds);
  if (!element || isOnTopAt(element, middle) || (bounds.width == 0 && bounds.height == 0)) {
    return middle;
  }
  for (int i = 0; i < kMostProbes; ++i) {
    const Point probe{bounds.x + randomOffset(bounds.width), bounds.y + randomOffset(bounds.height)};
    if (isOnTopAt(element, probe)) {
      return probe;
    }
  }
  const Rect seen = intersection(bounds, element->visibleBounds());
  const Point part = midpointOfRect(seen);
  const bool isPart = seen.width > 0 && seen.height > 0 && !(part == middle);
  return isPart && isOnTopAt(element, part) ? part : element->midpoint();
}

bool JLElementActioner::isOnTopAt(const Element& chosen, Point point) const {
  const Element element = readAnew(chosen);
  if (!element) {
    return false;
  }
  const JLElement screen(
      std::make_shared<JLAXElement>(JLElement::systemWideElement()->ref(), element->axElement()->live()));
  const auto hit = JLElement::elementAtPointFromBottomLeftForApplication(point, screen);
  return hit && (*hit == *element || hit->hasParent(*element));
}

void JLElementActioner::trackUsageWithAmount(const std::string& type, uint64_t amount) {
  NotificationCenter::defaultCenter().post({"TrackUsage", this, {{"Type", type}, {"Amount", amount}}});
}

}  // namespace jumplark
