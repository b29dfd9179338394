#include "backends/recorded/RecordingAccessibility.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "backends/recorded/RecordedValues.h"
#include "platform/Utf8.h"

namespace jumplark {
namespace {

constexpr const char* kPasswordField = "AXSecureTextField";

}  // namespace

ElementNotes& RecordingAccessibility::notesOf(const ElementRef& element) {
  return elements_.try_emplace(element.text(), element).first->second;
}

AccessibilityResult<std::vector<std::string>> RecordingAccessibility::copyAttributeNames(const ElementRef& element) {
  auto result = live_.copyAttributeNames(element);
  const std::scoped_lock lock(mutex_);
  notesOf(element).noteNames(result);
  return result;
}

AccessibilityResult<std::vector<std::string>> RecordingAccessibility::copyParameterizedAttributeNames(
    const ElementRef& element) {
  auto result = live_.copyParameterizedAttributeNames(element);
  const std::scoped_lock lock(mutex_);
  notesOf(element).noteParameterizedNames(result);
  return result;
}

AccessibilityResult<AttributeValue> RecordingAccessibility::copyAttributeValue(const ElementRef& element,
                                                                               const std::string& name) {
  auto result = live_.copyAttributeValue(element, name);
  const std::scoped_lock lock(mutex_);
  notesOf(element).noteValue(name, result);
  return result;
}

AccessibilityResult<AttributeValue> RecordingAccessibility::copyParameterizedAttributeValue(
    const ElementRef& element, const std::string& name, const AttributeValue& parameter) {
  auto result = live_.copyParameterizedAttributeValue(element, name, parameter);
  const std::scoped_lock lock(mutex_);
  notesOf(element).noteAnswer(name, parameter, result);
  return result;
}

AccessibilityResult<AttributeValue::List> RecordingAccessibility::copyAttributeValues(const ElementRef& element,
                                                                                      const std::string& name,
                                                                                      int64_t index, int64_t maxCount) {
  auto result = live_.copyAttributeValues(element, name, index, maxCount);
  const std::scoped_lock lock(mutex_);
  notesOf(element).noteSlice(name, index, result);
  return result;
}

AccessibilityResult<int64_t> RecordingAccessibility::attributeValueCount(const ElementRef& element,
                                                                         const std::string& name) {
  auto result = live_.attributeValueCount(element, name);
  const std::scoped_lock lock(mutex_);
  notesOf(element).noteCount(name, result);
  return result;
}

AccessibilityResult<AttributeValue::List> RecordingAccessibility::copyMultipleAttributeValues(
    const ElementRef& element, const std::vector<std::string>& names) {
  auto result = live_.copyMultipleAttributeValues(element, names);
  const std::scoped_lock lock(mutex_);
  ElementNotes& notes = notesOf(element);
  notes.noteFailure(result.error);
  for (size_t i = 0; result.ok() && i < std::min(names.size(), result.value.size()); ++i) {
    notes.noteEntry(names[i], result.value[i]);
  }
  return result;
}

AccessibilityError RecordingAccessibility::setAttributeValue(const ElementRef& element, const std::string& name,
                                                             const AttributeValue& value) {
  return live_.setAttributeValue(element, name, value);
}

AccessibilityError RecordingAccessibility::performAction(const ElementRef& element, const std::string& action) {
  const AccessibilityError result = live_.performAction(element, action);
  if (result == AccessibilityError::success) {
    const std::scoped_lock lock(mutex_);
    notesOf(element).noteAction(action);
  }
  return result;
}

AccessibilityResult<int32_t> RecordingAccessibility::processIdentifier(const ElementRef& element) {
  return live_.processIdentifier(element);
}

ElementRef RecordingAccessibility::createApplication(int32_t pid) {
  ElementRef element = live_.createApplication(pid);
  const std::scoped_lock lock(mutex_);
  applications_.insert_or_assign(pid, element);
  return element;
}

ElementRef RecordingAccessibility::systemWideElement() {
  return live_.systemWideElement();
}

AccessibilityResult<ElementRef> RecordingAccessibility::copyElementAtPosition(const ElementRef& application, float x,
                                                                              float y) {
  auto result = live_.copyElementAtPosition(application, x, y);
  if (result.ok() || result.error == AccessibilityError::noValue) {
    const bool ofApplication = !(application == live_.systemWideElement());
    const std::scoped_lock lock(mutex_);
    hits_.insert_or_assign({ofApplication, x, y, ofApplication ? application.text() : std::string()},
                           result.ok() ? result.value : ElementRef());
  }
  return result;
}

void RecordingAccessibility::setMessagingTimeout(const ElementRef& element, double seconds) {
  live_.setMessagingTimeout(element, seconds);
}

void RecordingAccessibility::prepareSnapshot(const ElementRef& application, bool visibleOnly) {
  live_.prepareSnapshot(application, visibleOnly);
}

void RecordingAccessibility::endSnapshot() {
  live_.endSnapshot();
}

std::shared_ptr<AccessibilityPlatform> RecordingAccessibility::live() {
  return live_.live();
}

bool RecordingAccessibility::isPasswordField(const ElementNotes& notes) const {
  for (const char* name : {"AXRole", "AXSubrole"}) {
    std::optional<std::string> text = notes.text(name);
    if (!text) {
      const auto asked = live_.copyAttributeValue(notes.element(), name);
      const bool saysNothing = asked.error == AccessibilityError::attributeUnsupported ||
                               asked.error == AccessibilityError::noValue || (asked.ok() && !asked.value.text());
      // An element that has gone may have been one.
      text = asked.ok() && asked.value.text() ? *asked.value.text() : saysNothing ? "" : kPasswordField;
    }
    if (*text == kPasswordField) {
      return true;
    }
  }
  return false;
}

std::string RecordingAccessibility::hitsToJson(const Hits& hits) {
  nlohmann::json list = nlohmann::json::array();
  for (const auto& [key, element] : hits) {
    nlohmann::json hit = {std::get<1>(key), std::get<2>(key), nullptr};
    if (element) {
      hit[2] = wellFormedUtf8(element.text());
    }
    // The same answer for the screen and for an application is told once.
    if (std::find(list.begin(), list.end(), hit) == list.end()) {
      list.push_back(std::move(hit));
    }
  }
  return list.dump();
}

RecordingAccessibility::Notes RecordingAccessibility::notes() {
  std::map<std::string, ElementNotes> elements;
  Hits hits;
  std::map<int32_t, ElementRef> applications;
  {
    const std::scoped_lock lock(mutex_);
    elements = elements_;
    hits = hits_;
    applications = applications_;
  }
  Notes result;
  std::set<std::string> mentioned;
  for (auto& [id, notes] : elements) {
    if (notes.holdsContents() && isPasswordField(notes)) {
      notes.dropContents();
    }
    notes.addReferences(mentioned);
    result.elements[wellFormedUtf8(id)] = notes.toJson().dump();
  }
  for (const auto& [key, element] : hits) {
    mentioned.insert(element.text());
  }
  for (const auto& [pid, element] : applications) {
    mentioned.insert(element.text());
    result.applicationElements[pid] = wellFormedUtf8(element.text());
  }
  mentioned.erase(std::string());  // of the hits that found nothing
  for (const std::string& id : mentioned) {
    result.elements.try_emplace(wellFormedUtf8(id), "{}");
  }
  result.hits = hitsToJson(hits);
  return result;
}

}  // namespace jumplark
