#include "accessibility/JLElement.h"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_set>

#include "accessibility/ElementCache.h"
#include "accessibility/ScreenCoordinates.h"
#include "platform/Platform.h"

namespace jumplark {
namespace {

ElementCache& cache() {
  static ElementCache elements;
  return elements;
}

std::optional<std::string> textOf(const AttributeValue& value) {
  if (value.isNone()) {
    return std::nullopt;
  }
  return value.text() ? *value.text() : value.description();
}

/// What is read anew is nobody else's.
JLElement::Pointer modelOf(const std::shared_ptr<JLAXElement>& axElement) {
  if (!axElement) {
    return nullptr;
  }
  return axElement->live() ? JLElement::elementWithJLAXElement(axElement)
                           : JLElement::cachedOrNewElementForElementRef(axElement->ref());
}

}  // namespace

JLElement::JLElement(std::shared_ptr<JLAXElement> axElement) : axElement_(std::move(axElement)) {}

JLElement::JLElement(const JLElement& other)
    : std::enable_shared_from_this<JLElement>(other), axElement_(other.axElement_) {}

JLElement::~JLElement() {
  // A long chain of parents would otherwise be freed by as many calls within each other.
  for (Pointer above = std::move(parent_); above.use_count() == 1;) {
    Pointer next;
    {
      const std::lock_guard lock(above->lazyMutex_);
      next.swap(above->parent_);
    }
    above = std::move(next);
  }
}

JLElement::Pointer JLElement::elementWithElementRef(const ElementRef& ref) {
  return cachedOrNewElementForElementRef(ref);
}

JLElement::Pointer JLElement::cachedOrNewElementForElementRef(const ElementRef& ref) {
  return cache().cachedOrNew(ref, [&] { return std::make_shared<JLElement>(std::make_shared<JLAXElement>(ref)); });
}

JLElement::Pointer JLElement::elementWithJLAXElement(std::shared_ptr<JLAXElement> axElement) {
  return std::make_shared<JLElement>(std::move(axElement));
}

JLElement::Pointer JLElement::elementWithPID(int32_t pid) {
  return elementWithJLAXElement(
      std::make_shared<JLAXElement>(Platform::current().accessibility->createApplication(pid)));
}

JLElement::Pointer JLElement::elementWithBundleID(const std::string& bundleIdentifier) {
  if (bundleIdentifier.empty()) {
    return nullptr;
  }
  const auto running = Platform::current().workspace->runningApplicationsWithBundleIdentifier(bundleIdentifier);
  return running.empty() ? nullptr : elementWithPID(running.front().pid);
}

JLElement::Pointer JLElement::systemWideElement() {
  return elementWithJLAXElement(std::make_shared<JLAXElement>(Platform::current().accessibility->systemWideElement()));
}

JLElement::Pointer JLElement::live(bool forAction) const {
  AccessibilityPlatform& platform = *Platform::current().accessibility;
  auto axElement = std::make_shared<JLAXElement>(ref(), forAction ? platform.liveForAction(ref()) : platform.live());
  Pointer anew = elementWithJLAXElement(std::move(axElement));
  anew->role_ = role();
  return anew;
}

JLElement::Pointer JLElement::elementAtPointFromTopLeft(Point point) {
  return elementAtPointFromTopLeftForApplication(point, *systemWideElement());
}

JLElement::Pointer JLElement::elementAtPointFromTopLeftForApplication(Point point, const JLElement& application) {
  const auto& live = application.axElement_->live();
  const auto found =
      (live ? *live : *Platform::current().accessibility)
          .copyElementAtPosition(application.ref(), static_cast<float>(point.x), static_cast<float>(point.y));
  return found.ok() && found.value ? modelOf(std::make_shared<JLAXElement>(found.value, live)) : nullptr;
}

JLElement::Pointer JLElement::elementAtPointFromBottomLeft(Point point) {
  return elementAtPointFromTopLeft(pointFromBottomLeftToTopLeft(point));
}

JLElement::Pointer JLElement::elementAtPointFromBottomLeftForApplication(Point point, const JLElement& application) {
  return elementAtPointFromTopLeftForApplication(pointFromBottomLeftToTopLeft(point), application);
}

void JLElement::flushCache() {
  cache().flush();
  Platform::current().accessibility->endSnapshot();
  JLAXElement::logAndResetCallCount();
}

std::string JLElement::description() const {
  return fmt::format("<JLElement: {} - role: {}>", fmt::ptr(this), role());
}

bool JLElement::isKnownDisabled() const {
  return Platform::current().accessibility->isKnownDisabled(ref());
}

std::optional<RunningApplication> JLElement::runningApp() const {
  return Platform::current().workspace->runningApplicationWithPid(pid());
}

std::string JLElement::role() const {
  {
    const std::lock_guard lock(lazyMutex_);
    if (!role_.empty()) {
      return role_;
    }
  }
  std::string role = textOf((*axElement_)["AXRole"]).value_or("");
  const std::lock_guard lock(lazyMutex_);
  role_ = role;
  return role;
}

std::optional<std::string> JLElement::subrole() const {
  return textOf((*axElement_)["AXSubrole"]);
}

std::vector<std::string> JLElement::roles() const {
  std::vector<std::string> roles = {role()};
  if (auto sub = subrole()) {
    roles.push_back(std::move(*sub));
  }
  return roles;
}

std::optional<std::string> JLElement::title() const {
  return textOf((*axElement_)["AXTitle"]);
}

std::optional<std::string> JLElement::visibleText() const {
  const Range visible = axElement_->getRangeAttribute("AXVisibleCharacterRange");
  return textOf(axElement_->getAttributeWithParameter("AXStringForRange", visible));
}

Point JLElement::position() const {
  return axElement_->getPointAttribute("AXPosition");
}

Size JLElement::size() const {
  return axElement_->getSizeAttribute("AXSize");
}

Rect JLElement::bounds() const {
  const Point origin = position();
  const Size extent = size();
  return rectFromTopLeftToBottomLeft({origin.x, origin.y, extent.width, extent.height});
}

Rect JLElement::visibleBounds() const {
  const OrderedSet path = ancestorsAndSelf();
  Rect visible;
  for (size_t i = 0; i < path.size(); ++i) {
    const Rect own = path[i]->bounds();
    if (own.isNull()) {
      visible = own;
    } else {
      visible = i == 0 ? Rect::infinite() : intersection(own, visible);
    }
  }
  return visible;
}

Point JLElement::midpoint() const {
  return midpointOfRect(bounds());
}

JLElement::Pointer JLElement::getElementAttribute(const std::string& name) const {
  return modelOf(axElement_->getElementAttribute(name));
}

JLElement::Pointer JLElement::window() const {
  const std::string own = role();
  if (own == "AXWindow") {
    return std::const_pointer_cast<JLElement>(shared_from_this());
  }
  if (own == "AXCell") {
    // A cell among its own ancestors would ask for ever.
    const OrderedSet above = ancestors();
    for (auto ancestor = above.rbegin(); ancestor != above.rend(); ++ancestor) {
      if ((*ancestor)->role() != "AXCell") {
        return (*ancestor)->window();
      }
    }
    return nullptr;
  }
  return getElementAttribute("AXWindow");
}

JLElement::Pointer JLElement::application() const {
  if (role() == "AXWindow") {
    return parent();
  }
  const Pointer containing = window();
  return containing ? containing->parent() : nullptr;
}

JLElement::Pointer JLElement::focusedWindow() const {
  if (role() == "AXApplication") {
    return getElementAttribute("AXFocusedWindow");
  }
  const Pointer owner = application();
  return owner && owner->role() == "AXApplication" ? owner->focusedWindow() : nullptr;
}

JLElement::Pointer JLElement::focusedElement() const {
  return role() == "AXApplication" ? getElementAttribute("AXFocusedUIElement") : focusedWindow();
}

JLElement::Pointer JLElement::titleElement() const {
  return getElementAttribute("AXTitleUIElement");
}

JLElement::Pointer JLElement::sheet() const {
  if (role() != "AXWindow") {
    return nullptr;
  }
  Pointer found;
  enumerateAttributeUsingBlock("AXChildren", [&](const AttributeValue& value, size_t, bool& stop) {
    if (!value.element()) {
      return;
    }
    auto child = std::make_shared<JLAXElement>(*value.element(), axElement_->live());
    if (textOf((*child)["AXRole"]) == "AXSheet") {
      found = elementWithJLAXElement(std::move(child));
      stop = true;
    }
  });
  return found;
}

JLElement::Pointer JLElement::parent() const {
  {
    const std::lock_guard lock(lazyMutex_);
    if (parent_) {
      return parent_;
    }
  }
  Pointer found = getElementAttribute("AXParent");
  // One at a time: of a ring's parents that two threads remember at once each would find the ring still open.
  static std::mutex remembering;
  const std::lock_guard one(remembering);
  if (!found || isBelowItself(found)) {
    return found;  // remembering it would make a ring of models that keep each other alive
  }
  const std::lock_guard lock(lazyMutex_);
  parent_ = found;
  return found;
}

bool JLElement::isBelowItself(const Pointer& newParent) const {
  for (Pointer step = newParent; step;) {
    if (step.get() == this) {
      return true;
    }
    const std::lock_guard lock(step->lazyMutex_);
    Pointer next = step->parent_;
    step = std::move(next);
  }
  return false;
}

JLElement::OrderedSet JLElement::ancestors() const {
  {
    const std::lock_guard lock(lazyMutex_);
    if (ancestors_) {
      return *ancestors_;
    }
  }
  OrderedSet path;
  std::unordered_set<uint64_t> seen = {hash()};
  Pointer step = parent();
  for (; step && seen.insert(step->hash()).second; step = step->parent()) {
    path.push_back(step);
  }
  std::reverse(path.begin(), path.end());
  if (!step && !path.empty()) {
    const std::lock_guard lock(lazyMutex_);
    ancestors_ = path;
  }
  return path;
}

JLElement::OrderedSet JLElement::ancestorsAndSelf() const {
  OrderedSet path = ancestors();
  path.push_back(std::const_pointer_cast<JLElement>(shared_from_this()));
  return path;
}

bool JLElement::hasParent(const JLElement& element) const {
  // The path is walked upwards as far as the first application, whose own parents do not count.
  if (role() == "AXApplication") {
    return false;
  }
  const OrderedSet above = ancestors();
  for (auto ancestor = above.rbegin(); ancestor != above.rend(); ++ancestor) {
    if (**ancestor == element) {
      return true;
    }
    if ((*ancestor)->role() == "AXApplication") {
      return false;
    }
  }
  return false;
}

void JLElement::focus() const {
  // What a window names as its application may be a window too, and in the end the window itself.
  OrderedSet windows;
  std::unordered_set<uint64_t> seen;
  Pointer step = std::const_pointer_cast<JLElement>(shared_from_this());
  for (; step && step->role() == "AXWindow" && seen.insert(step->hash()).second; step = step->parent()) {
    windows.push_back(step);
  }
  if (step && step->role() == "AXApplication") {
    Platform::current().workspace->activate(step->pid(), kActivateIgnoringOtherApps);
  } else if (step && step->role() != "AXWindow") {
    step->axElement_->setAttributeValue("AXFocused", true);
  }
  for (auto window = windows.rbegin(); window != windows.rend(); ++window) {
    (*window)->performAction("AXRaise");
  }
}

AttributeValue::Dictionary JLElement::metricDictionary() const {
  AttributeValue::List roleList;
  for (std::string& name : roles()) {
    roleList.emplace_back(std::move(name));
  }
  const Size extent = size();
  return {{"role", AttributeValue(std::move(roleList))},
          {"size", AttributeValue(AttributeValue::Dictionary{{"width", extent.width}, {"height", extent.height}})}};
}

}  // namespace jumplark
