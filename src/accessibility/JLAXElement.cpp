#include "accessibility/JLAXElement.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <atomic>

#include "metrics/JLMetrics.h"
#include "platform/Platform.h"

namespace jumplark {
namespace {

constexpr int64_t kBatchSize = 50;

std::atomic<uint64_t> calls{0};

void countCall() {
  calls.fetch_add(1, std::memory_order_relaxed);
}

template <typename T>
T reported(AccessibilityResult<T> result, const char* function, int line) {
  return JLAXElement::handleAXErrorFromFunctionAtLine(result.error, function, line) == AccessibilityError::success
             ? std::move(result.value)
             : T{};
}

/// Counts the unpacking of a value that was there, whatever kind it turns out to be.
template <typename T>
T unpacked(const AttributeValue& raw, const T* (AttributeValue::*kind)() const, T fallback) {
  if (raw.isNone()) {
    return fallback;
  }
  countCall();
  const T* value = (raw.*kind)();
  return value ? *value : fallback;
}

bool holdsName(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

JLAXElement::JLAXElement(ElementRef ref, std::shared_ptr<AccessibilityPlatform> live)
    : ref_(std::move(ref)), live_(std::move(live)) {}

JLAXElement::JLAXElement(const JLAXElement& other) : ref_(other.ref_), live_(other.live_) {}

AccessibilityPlatform& JLAXElement::accessibility() const {
  return live_ ? *live_ : *Platform::current().accessibility;
}

int32_t JLAXElement::pid() const {
  const auto result = accessibility().processIdentifier(ref_);
  const auto error = handleAXErrorFromFunctionAtLine(result.error, "-[JLAXElement pid]", 91);
  return error == AccessibilityError::success ? result.value : -1;
}

std::string JLAXElement::debugDescription() const {
  return fmt::format("<JLAXElement {} {}>", role_.value_or("(null)"), fmt::ptr(this));
}

const std::set<std::string>& JLAXElement::commonAttributeNames() {
  static const std::set<std::string> names = {"AXParent", "AXWindow",   "AXRole",        "AXRoleDescription",
                                              "AXSize",   "AXPosition", "AXDescription", "AXIdentifier"};
  return names;
}

bool JLAXElement::attributeExists(const std::string& name) const {
  if (commonAttributeNames().contains(name)) {
    return true;
  }
  Names names;
  {
    const std::lock_guard lock(namesMutex_);
    names = attributeNames_;
  }
  if (!names) {
    auto result = accessibility().copyAttributeNames(ref_);
    if (handleAXErrorFromFunctionAtLine(result.error, "-[JLAXElement attributeExists:]", 123) !=
        AccessibilityError::success) {
      return false;
    }
    names = std::make_shared<const std::vector<std::string>>(std::move(result.value));
    const std::lock_guard lock(namesMutex_);
    attributeNames_ = names;
  }
  return holdsName(*names, name);
}

bool JLAXElement::parameterizedAttributeExists(const std::string& name) const {
  Names names;
  {
    const std::lock_guard lock(namesMutex_);
    names = parameterizedAttributeNames_;
  }
  if (!names) {
    auto result = accessibility().copyParameterizedAttributeNames(ref_);
    if (handleAXErrorFromFunctionAtLine(result.error, "-[JLAXElement parameterizedAttributeExists:]", 136) !=
        AccessibilityError::success) {
      return false;
    }
    names = std::make_shared<const std::vector<std::string>>(std::move(result.value));
    const std::lock_guard lock(namesMutex_);
    parameterizedAttributeNames_ = names;
  }
  return holdsName(*names, name);
}

AttributeValue JLAXElement::copyRawAttribute(const std::string& name) const {
  return reported(accessibility().copyAttributeValue(ref_, name), "-[JLAXElement copyRawAttribute:]", 149);
}

AttributeValue JLAXElement::copyRawAttributeWithParameter(const std::string& name,
                                                          const AttributeValue& parameter) const {
  return reported(accessibility().copyParameterizedAttributeValue(ref_, name, parameter),
                  "-[JLAXElement copyRawAttribute:withParameter:]", 158);
}

std::optional<AttributeValue::List> JLAXElement::copyRawAttributeArrayFromIndexMaxLength(const std::string& name,
                                                                                         int64_t index,
                                                                                         int64_t maxLength) const {
  auto result = accessibility().copyAttributeValues(ref_, name, index, maxLength);
  if (handleAXErrorFromFunctionAtLine(result.error, "-[JLAXElement copyRawAttributeArray:fromIndex:maxLength:]", 167) !=
      AccessibilityError::success) {
    return std::nullopt;
  }
  return std::move(result.value);
}

AttributeValue JLAXElement::getAttribute(const std::string& name) const {
  AttributeValue raw = copyRawAttribute(name);
  return raw.packedType() == PackedValueType::notPacked ? raw : unpackAXValue(raw);
}

AttributeValue JLAXElement::getAttributeWithParameter(const std::string& name, const AttributeValue& parameter) const {
  AttributeValue raw = copyRawAttributeWithParameter(name, parameter);
  if (raw.isNone()) {
    return raw;
  }
  if (raw.packedType() == PackedValueType::notPacked) {
    countCall();
    return raw;
  }
  return unpackAXValue(raw);
}

AttributeValue JLAXElement::getAttributeDefault(const std::string& name, const AttributeValue& fallback) const {
  AttributeValue value = getAttribute(name);
  return value.isNone() ? fallback : value;
}

std::shared_ptr<JLAXElement> JLAXElement::getElementAttribute(const std::string& name) const {
  const AttributeValue raw = copyRawAttribute(name);
  const ElementRef* element = raw.element();
  return element && *element ? std::make_shared<JLAXElement>(*element, live_) : nullptr;
}

Point JLAXElement::getPointAttribute(const std::string& name) const {
  return unpacked(copyRawAttribute(name), &AttributeValue::point, Point{});
}

Size JLAXElement::getSizeAttribute(const std::string& name) const {
  return unpacked(copyRawAttribute(name), &AttributeValue::size, Size{});
}

Rect JLAXElement::getRectAttribute(const std::string& name) const {
  return unpacked(copyRawAttribute(name), &AttributeValue::rect, Rect{});
}

Range JLAXElement::getRangeAttribute(const std::string& name) const {
  return unpacked(copyRawAttribute(name), &AttributeValue::range, Range{Range::kNotFound, -1});
}

AttributeValue::List JLAXElement::getArrayAttributeStartIndexMaxLength(const std::string& name, int64_t start,
                                                                       int64_t maxLength) const {
  return copyRawAttributeArrayFromIndexMaxLength(name, start, maxLength).value_or(AttributeValue::List{});
}

int64_t JLAXElement::getAttributeArrayCount(const std::string& name) const {
  const auto result = accessibility().attributeValueCount(ref_, name);
  if (result.error == AccessibilityError::illegalArgument) {
    return 0;
  }
  const auto error = handleAXErrorFromFunctionAtLine(result.error, "-[JLAXElement getAttributeArrayCount:]", 361);
  return error == AccessibilityError::success ? result.value : -1;
}

AttributeValue::List JLAXElement::getMultipleAttributes(const std::vector<std::string>& names) const {
  if (names.empty()) {
    return {};
  }
  auto values =
      reported(accessibility().copyMultipleAttributeValues(ref_, names), "-[JLAXElement getMultipleAttributes:]", 374);
  for (AttributeValue& value : values) {
    value = unpackAXValue(value);
  }
  return values;
}

void JLAXElement::enumerateAttributeUsingBlock(const std::string& name, const Visitor& visitor,
                                               const std::function<bool()>& goOn) const {
  if (!attributeExists(name)) {
    return;
  }
  const int64_t count = getAttributeArrayCount(name);
  for (int64_t start = 0; start < count && (!goOn || goOn()); start += kBatchSize) {
    const AttributeValue::List batch = getArrayAttributeStartIndexMaxLength(name, start, kBatchSize);
    bool stop = false;
    for (size_t index = 0; index < batch.size() && !stop; ++index) {
      visitor(batch[index], index, stop);
    }
  }
}

bool JLAXElement::setAttributeValue(const std::string& name, const AttributeValue& value) const {
  const auto error = accessibility().setAttributeValue(ref_, name, value);
  return handleAXErrorFromFunctionAtLine(error, "-[JLAXElement setAttribute:value:]", 424) ==
         AccessibilityError::success;
}

bool JLAXElement::performAction(const std::string& action) const {
  const auto error = accessibility().performAction(ref_, action);
  return handleAXErrorFromFunctionAtLine(error, "-[JLAXElement performAction:]", 437) == AccessibilityError::success;
}

std::string JLAXElement::nameOfError(AccessibilityError error) {
  switch (error) {
    case AccessibilityError::success:
    case AccessibilityError::noValue:
      return {};
    case AccessibilityError::failure:
      return "Failure";
    case AccessibilityError::illegalArgument:
      return "Illegal Argument";
    case AccessibilityError::invalidElement:
      return "Invalid AXUIElementRef";
    case AccessibilityError::invalidObserver:
      return "Invalid AXObserverRef";
    case AccessibilityError::cannotComplete:
      return "Messaging timeout";
    case AccessibilityError::attributeUnsupported:
      return "Attribute unsupported";
    case AccessibilityError::actionUnsupported:
      return "Action unsupported";
    case AccessibilityError::notificationUnsupported:
      return "Notification unsupported";
    case AccessibilityError::notImplemented:
      return "Not implemented";
    case AccessibilityError::notificationAlreadyRegistered:
      return "Notification already registered";
    case AccessibilityError::notificationNotRegistered:
      return "Notification not registered";
    case AccessibilityError::apiDisabled:
      return "Accessibility API not enabled";
    case AccessibilityError::parameterizedAttributeUnsupported:
      return "Parameterized attribute unsupported";
    case AccessibilityError::notEnoughPrecision:
      return "Not enough precision";
  }
  return fmt::format("Unhandled AXError code {}", static_cast<int32_t>(error));
}

AccessibilityError JLAXElement::handleAXErrorFromFunctionAtLine(AccessibilityError error, const char* function,
                                                                int line) {
  if (error == AccessibilityError::success || error == AccessibilityError::noValue) {
    return error;
  }
  countCall();
  if (spdlog::should_log(spdlog::level::trace)) {
    spdlog::trace("{} [Line {}] {}", function, line, nameOfError(error));
  }
  return error;
}

AttributeValue JLAXElement::unpackAXValue(const AttributeValue& value) {
  countCall();
  if (value.packedType() == PackedValueType::notPacked) {
    return value;
  }
  countCall();
  const AccessibilityError* error = value.error();
  if (!error) {
    return value;
  }
  if (*error != AccessibilityError::parameterizedAttributeUnsupported && *error != AccessibilityError::noValue &&
      *error != AccessibilityError::attributeUnsupported) {
    handleAXErrorFromFunctionAtLine(*error, "-[JLAXElement unpackAXValue:]", 232);
  }
  return {};
}

void JLAXElement::logAndResetCallCount() {
  const uint64_t count = calls.exchange(0, std::memory_order_relaxed);
  if (count != 0) {
    JLTrackEvent("ax_call_count", MetricData{{"call_count", static_cast<int64_t>(count)}});
  }
}

}  // namespace jumplark
