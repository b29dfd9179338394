#include "backends/recorded/RecordedAccessibility.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "backends/recorded/RecordedValues.h"
#include "backends/recorded/RecordedWorkspace.h"
#include "platform/Queues.h"

namespace jumplark {
namespace {

constexpr double kDefaultTimeout = 0.5;  // seconds

/// An application that no recording lists: its reference is good, its reads fail.
class AbsentApplicationHandle final : public ElementHandle {
 public:
  explicit AbsentApplicationHandle(int32_t pid) : ElementHandle("application " + std::to_string(pid)), pid(pid) {}
  const int32_t pid;
};

std::vector<std::string> sortedNames(const ElementStore& store, const auto& entries) {
  std::vector<std::string> names;
  names.reserve(entries.size());
  for (const auto& entry : entries) {
    names.push_back(store.nameOf(entry.first));
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

/// The right to look at one element: the lock, and the element unless it fails.
struct RecordedAccessibility::Admission {
  std::unique_lock<std::mutex> lock;
  RecordedElement* element = nullptr;
  AccessibilityError error = AccessibilityError::success;
};

RecordedAccessibility::RecordedAccessibility(const RecordedDesktop& desktop, const RecordedWorkspace& workspace,
                                             Queues& queues)
    : workspace_(workspace),
      queues_(queues),
      systemWide_(std::make_shared<const ElementHandle>("system-wide element")),
      store_(desktop.elements),
      hits_(desktop.hits) {}

RecordedAccessibility::Admission RecordedAccessibility::admit(const ElementRef& element) {
  messageCount_.fetch_add(1, std::memory_order_relaxed);
  std::unique_lock lock(mutex_);
  RecordedElement* found = store_.find(element);
  if (found && found->present && found->delayMilliseconds > 0) {
    const double allowed = timeoutOf(element) * 1000;
    const double delay = found->delayMilliseconds;
    lock.unlock();
    queues_.sleep(
        std::chrono::duration_cast<Duration>(std::chrono::duration<double, std::milli>(std::min(delay, allowed))));
    lock.lock();
    if (delay > allowed) {
      return {std::move(lock), nullptr, AccessibilityError::cannotComplete};
    }
    found = store_.find(element);
  }
  if (element == systemWide_) {
    return {std::move(lock), nullptr, AccessibilityError::attributeUnsupported};
  }
  if (!found || !found->present) {
    return {std::move(lock), nullptr, AccessibilityError::invalidElement};
  }
  if (found->error != AccessibilityError::success) {
    return {std::move(lock), nullptr, found->error};
  }
  return {std::move(lock), found, AccessibilityError::success};
}

double RecordedAccessibility::timeoutOf(const ElementRef& element) const {
  const auto own = timeouts_.empty() ? timeouts_.end() : timeouts_.find(element);
  return own == timeouts_.end() ? defaultTimeout_ : own->second;
}

AccessibilityResult<std::vector<std::string>> RecordedAccessibility::copyAttributeNames(const ElementRef& element) {
  const Admission admission = admit(element);
  if (!admission.element) {
    return admission.error;
  }
  return sortedNames(store_, admission.element->attributes);
}

AccessibilityResult<std::vector<std::string>> RecordedAccessibility::copyParameterizedAttributeNames(
    const ElementRef& element) {
  const Admission admission = admit(element);
  if (!admission.element) {
    return admission.error;
  }
  return sortedNames(store_, admission.element->parameterized);
}

AccessibilityResult<AttributeValue> RecordedAccessibility::copyAttributeValue(const ElementRef& element,
                                                                              const std::string& name) {
  const Admission admission = admit(element);
  if (!admission.element) {
    return admission.error;
  }
  const AttributeValue* value = store_.attribute(*admission.element, name);
  if (!value) {
    return AccessibilityError::attributeUnsupported;
  }
  if (value->isNone()) {
    return AccessibilityError::noValue;
  }
  return *value;
}

bool RecordedAccessibility::isKnownDisabled(const ElementRef& element) {
  const std::lock_guard lock(mutex_);
  const RecordedElement* found = store_.find(element);
  const AttributeValue* enabled = found ? store_.attribute(*found, "AXEnabled") : nullptr;
  return enabled && enabled->boolean() && !*enabled->boolean();
}

std::vector<ElementRef> RecordedAccessibility::windowButtons(const ElementRef& application) {
  const std::lock_guard lock(mutex_);
  const RecordedElement* found = store_.find(application);
  const AttributeValue* buttons = found ? store_.attribute(*found, "AXWindowButtons") : nullptr;
  std::vector<ElementRef> references;
  for (const AttributeValue& one : buttons && buttons->list() ? *buttons->list() : AttributeValue::List()) {
    if (const ElementRef* reference = one.element()) {
      references.push_back(*reference);
    }
  }
  return references;
}

AccessibilityResult<AttributeValue> RecordedAccessibility::copyParameterizedAttributeValue(
    const ElementRef& element, const std::string& name, const AttributeValue& parameter) {
  const Admission admission = admit(element);
  if (!admission.element) {
    return admission.error;
  }
  const auto number = store_.numberOf(name);
  const std::vector<RecordedAnswer>* answers = number ? admission.element->answers(*number) : nullptr;
  if (!answers) {
    return AccessibilityError::parameterizedAttributeUnsupported;
  }
  const auto answer = std::find_if(answers->begin(), answers->end(), [&](const RecordedAnswer& candidate) {
    return !candidate.when || recorded_values::meetsCondition(parameter, *candidate.when);
  });
  if (answer == answers->end() || answer->value.isNone()) {
    return AccessibilityError::noValue;
  }
  return answer->value;
}

AccessibilityResult<const AttributeValue::List*> RecordedAccessibility::listOf(const RecordedElement& element,
                                                                               const std::string& name) const {
  const AttributeValue* value = store_.attribute(element, name);
  if (!value) {
    return AccessibilityError::attributeUnsupported;
  }
  if (value->isNone()) {
    return AccessibilityError::noValue;
  }
  if (!value->list()) {
    return AccessibilityError::illegalArgument;
  }
  return value->list();
}

AccessibilityResult<AttributeValue::List> RecordedAccessibility::copyAttributeValues(const ElementRef& element,
                                                                                     const std::string& name,
                                                                                     int64_t index, int64_t maxCount) {
  const Admission admission = admit(element);
  if (!admission.element) {
    return admission.error;
  }
  const auto list = listOf(*admission.element, name);
  if (!list.ok()) {
    return list.error;
  }
  const auto size = static_cast<int64_t>(list.value->size());
  if (index < 0 || index > size || maxCount < 0) {
    return AccessibilityError::illegalArgument;
  }
  const auto first = list.value->begin() + index;
  return AttributeValue::List(first, first + std::min(maxCount, size - index));
}

AccessibilityResult<int64_t> RecordedAccessibility::attributeValueCount(const ElementRef& element,
                                                                        const std::string& name) {
  const Admission admission = admit(element);
  if (!admission.element) {
    return admission.error;
  }
  const auto list = listOf(*admission.element, name);
  if (!list.ok()) {
    return list.error;
  }
  return static_cast<int64_t>(list.value->size());
}

AttributeValue RecordedAccessibility::valueOrError(const RecordedElement& element, const std::string& name) const {
  const AttributeValue* value = store_.attribute(element, name);
  if (!value) {
    return AccessibilityError::attributeUnsupported;
  }
  return value->isNone() ? AttributeValue(AccessibilityError::noValue) : *value;
}

AccessibilityResult<AttributeValue::List> RecordedAccessibility::copyMultipleAttributeValues(
    const ElementRef& element, const std::vector<std::string>& names) {
  const Admission admission = admit(element);
  if (!admission.element) {
    return admission.error;
  }
  AttributeValue::List values;
  values.reserve(names.size());
  for (const std::string& name : names) {
    values.push_back(valueOrError(*admission.element, name));
  }
  return values;
}

AccessibilityError RecordedAccessibility::setAttributeValue(const ElementRef& element, const std::string& name,
                                                            const AttributeValue& value) {
  AccessibilityError result{};
  {
    const Admission admission = admit(element);
    result = admission.error;
    if (admission.element && !store_.attribute(*admission.element, name)) {
      result = AccessibilityError::attributeUnsupported;
    } else if (admission.element) {
      store_.setAttribute(*admission.element, name, value);
      hitTester_.reset();
    }
  }
  note({element, name, value, result});
  return result;
}

AccessibilityError RecordedAccessibility::performAction(const ElementRef& element, const std::string& action) {
  AccessibilityError result{};
  {
    const Admission admission = admit(element);
    result = admission.error;
    if (admission.element) {
      const auto& actions = admission.element->actions;
      const bool offered = std::find(actions.begin(), actions.end(), action) != actions.end();
      result = offered ? AccessibilityError::success : AccessibilityError::actionUnsupported;
    } else if (element == systemWide_) {
      result = AccessibilityError::actionUnsupported;
    }
  }
  note({element, action, {}, result});
  return result;
}

AccessibilityResult<int32_t> RecordedAccessibility::processIdentifier(const ElementRef& element) {
  if (const auto* absent = dynamic_cast<const AbsentApplicationHandle*>(element.get())) {
    return absent->pid;
  }
  const std::vector<RecordedApplication> applications = workspace_.applicationsInHitOrder();
  const std::scoped_lock lock(mutex_);
  const RecordedElement* found = store_.find(element);
  if (!found || !found->present) {
    return AccessibilityError::invalidElement;
  }
  const auto owner = ownerOf(*found, applications);
  return owner ? AccessibilityResult(*owner) : AccessibilityResult<int32_t>(AccessibilityError::failure);
}

std::optional<int32_t> RecordedAccessibility::ownerOf(const RecordedElement& element,
                                                      const std::vector<RecordedApplication>& applications) {
  // Chains may be circles: at most as many steps as there are elements.
  const RecordedElement* top = &element;
  for (size_t steps = 0; steps <= store_.all().size(); ++steps) {
    const auto owner = std::find_if(applications.begin(), applications.end(),
                                    [&](const RecordedApplication& other) { return other.element == top->ref; });
    if (owner != applications.end()) {
      return owner->pid;
    }
    const AttributeValue* parent = store_.attribute(*top, "AXParent");
    const RecordedElement* next = parent && parent->element() ? store_.find(*parent->element()) : nullptr;
    if (!next) {
      break;
    }
    top = next;
  }
  const auto holder = std::find_if(applications.begin(), applications.end(), [&](const RecordedApplication& other) {
    return other.element && (hitTester_.holds(other.element, element.ref) || hitTester_.holds(other.element, top->ref));
  });
  return holder == applications.end() ? std::nullopt : std::optional(holder->pid);
}

ElementRef RecordedAccessibility::createApplication(int32_t pid) {
  ElementRef element = workspace_.applicationElement(pid);
  return element ? element : ElementRef(std::make_shared<const AbsentApplicationHandle>(pid));
}

ElementRef RecordedAccessibility::systemWideElement() {
  return systemWide_;
}

std::vector<RecordedApplication> RecordedAccessibility::hitOrder(const ElementRef& application) const {
  std::vector<RecordedApplication> applications = workspace_.applicationsInHitOrder();
  std::erase_if(applications, [&](const RecordedApplication& other) {
    return !other.element || (application != systemWide_ && !(other.element == application));
  });
  return applications;
}

std::optional<ElementRef> RecordedAccessibility::recordedHit(const std::vector<RecordedApplication>& applications,
                                                             bool everywhere, float x, float y) {
  for (const RecordedHit& hit : hits_) {
    if (hit.x != x || hit.y != y) {
      continue;
    }
    if (!hit.element) {
      return ElementRef();
    }
    const RecordedElement* found = store_.find(hit.element);
    const bool hittable = found && found->present && found->error == AccessibilityError::success;
    if (hittable && (everywhere || ownerOf(*found, applications))) {
      return hit.element;
    }
  }
  return std::nullopt;
}

AccessibilityResult<ElementRef> RecordedAccessibility::copyElementAtPosition(const ElementRef& application, float x,
                                                                             float y) {
  const bool everywhere = application == systemWide_;
  if (!everywhere) {
    const Admission admission = admit(application);
    if (!admission.element) {
      return admission.error;
    }
  }
  std::vector<RecordedApplication> applications = hitOrder(application);
  const std::scoped_lock lock(mutex_);
  if (const auto hit = recordedHit(applications, everywhere, x, y)) {
    return *hit ? AccessibilityResult(*hit) : AccessibilityResult<ElementRef>(AccessibilityError::noValue);
  }
  for (const RecordedApplication& candidate : applications) {
    if (ElementRef found = hitTester_.elementAt(candidate.element, {x, y})) {
      return found;
    }
  }
  return AccessibilityError::noValue;
}

void RecordedAccessibility::setMessagingTimeout(const ElementRef& element, double seconds) {
  const std::scoped_lock lock(mutex_);
  const double allowed = std::isfinite(seconds) && seconds > 0 ? seconds : kDefaultTimeout;
  if (element == systemWide_) {
    defaultTimeout_ = allowed;
  } else {
    timeouts_[element] = allowed;
  }
}

void RecordedAccessibility::prepareSnapshot(const ElementRef& application, bool visibleOnly) {
  const std::scoped_lock lock(mutex_);
  preparedSnapshots_.emplace_back(application, visibleOnly);
}

void RecordedAccessibility::endSnapshot() {
  endedSnapshots_.fetch_add(1);
}

std::shared_ptr<AccessibilityPlatform> RecordedAccessibility::live() {
  return {std::shared_ptr<void>(), this};
}

}  // namespace jumplark
