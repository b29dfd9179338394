#include "backends/recorded/ElementNotes.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <tuple>

#include "backends/recorded/RecordedValues.h"
#include "platform/Utf8.h"

namespace jumplark {
namespace {

using nlohmann::json;

/// A list of which only the length is known is written as that many nulls, unless that would bloat the file.
constexpr int64_t kLongestUnreadList = 10000;

constexpr std::array kContents = {"AXValue", "AXValueDescription", "AXSelectedText"};

bool concernsAttribute(AccessibilityError error) {
  switch (error) {
    case AccessibilityError::attributeUnsupported:
    case AccessibilityError::parameterizedAttributeUnsupported:
    case AccessibilityError::noValue:
    case AccessibilityError::illegalArgument:
      return true;
    default:
      return false;
  }
}

void addReferencesOf(const AttributeValue& value, std::set<std::string>& ids) {
  if (value.element() && *value.element()) {
    ids.insert(value.element()->text());
  }
  if (value.list()) {
    for (const AttributeValue& entry : *value.list()) {
      addReferencesOf(entry, ids);
    }
  }
  if (value.dictionary()) {
    for (const auto& [name, member] : *value.dictionary()) {
      addReferencesOf(member, ids);
    }
  }
}

}  // namespace

void ElementNotes::noteFailure(AccessibilityError error) {
  if (error != AccessibilityError::success && !concernsAttribute(error)) {
    failure_ = error;
  }
}

void ElementNotes::noteNames(const AccessibilityResult<std::vector<std::string>>& names) {
  noteFailure(names.error);
  if (names.ok()) {
    succeeded_ = true;
    supported_.insert(names.value.begin(), names.value.end());
  }
}

void ElementNotes::noteParameterizedNames(const AccessibilityResult<std::vector<std::string>>& names) {
  noteFailure(names.error);
  if (names.ok()) {
    succeeded_ = true;
    for (const std::string& name : names.value) {
      answers_.try_emplace(name);
    }
  }
}

void ElementNotes::noteValue(const std::string& name, const AccessibilityResult<AttributeValue>& result) {
  noteFailure(result.error);
  if (result.ok()) {
    succeeded_ = true;
    values_[name] = result.value;
  } else if (result.error == AccessibilityError::noValue) {
    succeeded_ = true;
    supported_.insert(name);
  } else if (concernsAttribute(result.error)) {
    succeeded_ = true;
  } else {
    valueErrors_[name] = result.error;
  }
}

void ElementNotes::noteEntry(const std::string& name, const AttributeValue& entry) {
  if (entry.error()) {
    noteValue(name, *entry.error());
  } else if (entry.isNone()) {
    noteValue(name, AccessibilityError::noValue);
  } else {
    noteValue(name, entry);
  }
}

void ElementNotes::noteSlice(const std::string& name, int64_t index,
                             const AccessibilityResult<AttributeValue::List>& result) {
  if (!result.ok()) {
    noteValue(name, result.error);
    return;
  }
  succeeded_ = true;
  Slices& slices = slices_[name];
  for (const AttributeValue& entry : result.value) {
    slices.entries[index++] = entry;
  }
}

void ElementNotes::noteCount(const std::string& name, const AccessibilityResult<int64_t>& result) {
  if (!result.ok()) {
    noteValue(name, result.error);
    return;
  }
  succeeded_ = true;
  slices_[name].count = result.value;
}

void ElementNotes::noteAnswer(const std::string& name, const AttributeValue& parameter,
                              const AccessibilityResult<AttributeValue>& result) {
  noteFailure(result.error);
  if (result.error == AccessibilityError::parameterizedAttributeUnsupported ||
      result.error == AccessibilityError::attributeUnsupported) {
    succeeded_ = true;
    return;
  }
  succeeded_ = succeeded_ || result.ok() || concernsAttribute(result.error);
  AttributeValue value = result.ok()                       ? result.value
                         : concernsAttribute(result.error) ? AttributeValue()
                                                           : AttributeValue(result.error);
  std::vector<Answer>& answers = answers_[name];
  const auto same =
      std::find_if(answers.begin(), answers.end(), [&](const Answer& other) { return other.parameter == parameter; });
  if (same == answers.end()) {
    answers.push_back({parameter, std::move(value)});
  } else {
    same->value = std::move(value);
  }
}

std::optional<std::string> ElementNotes::text(const std::string& name) const {
  const auto found = values_.find(name);
  return found != values_.end() && found->second.text() ? std::optional(*found->second.text()) : std::nullopt;
}

bool ElementNotes::answersText(const std::vector<Answer>& answers) {
  return std::any_of(answers.begin(), answers.end(), [](const Answer& answer) { return answer.value.text(); });
}

bool ElementNotes::holdsContents() const {
  const bool isValue = std::any_of(kContents.begin(), kContents.end(), [&](const char* name) { return text(name); });
  return isValue ||
         std::any_of(answers_.begin(), answers_.end(), [](const auto& entry) { return answersText(entry.second); });
}

void ElementNotes::dropContents() {
  for (const char* name : kContents) {
    values_.erase(name);
    valueErrors_.erase(name);
    supported_.erase(name);
  }
  std::erase_if(answers_, [](const auto& entry) { return answersText(entry.second); });
}

void ElementNotes::addReferences(std::set<std::string>& ids) const {
  for (const auto& [name, value] : allValues()) {
    addReferencesOf(value, ids);
  }
  for (const auto& [name, answers] : answers_) {
    for (const Answer& answer : answers) {
      addReferencesOf(answer.parameter, ids);
      addReferencesOf(answer.value, ids);
    }
  }
}

std::map<std::string, AttributeValue> ElementNotes::allValues() const {
  std::map<std::string, AttributeValue> all;
  for (const std::string& name : supported_) {
    all[name] = {};
  }
  for (const auto& [name, error] : valueErrors_) {
    all[name] = error;
  }
  for (const auto& [name, slices] : slices_) {
    AttributeValue::List list;
    for (const auto& [index, entry] : slices.entries) {
      list.push_back(entry);
    }
    if (list.empty()) {
      list.resize(static_cast<size_t>(std::clamp<int64_t>(slices.count, 0, kLongestUnreadList)));
    }
    all[name] = std::move(list);
  }
  for (const auto& [name, value] : values_) {
    all[name] = value;
  }
  return all;
}

json ElementNotes::answersToJson(const std::vector<Answer>& answers) {
  // The first entry that fits is taken, so the more a condition asks for, the earlier it stands.
  std::vector<std::tuple<int64_t, std::string, json>> sorted;
  for (const Answer& answer : answers) {
    json when = recorded_values::conditionToJson(answer.parameter);
    const int64_t members = answer.parameter.dictionary() ? static_cast<int64_t>(when.size()) : 0;
    std::string text = when.dump();
    sorted.emplace_back(-members, std::move(text),
                        json{{"when", std::move(when)}, {"value", recorded_values::toJson(answer.value)}});
  }
  std::sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
    return std::tie(std::get<0>(a), std::get<1>(a)) < std::tie(std::get<0>(b), std::get<1>(b));
  });
  json list = json::array();
  for (auto& entry : sorted) {
    list.push_back(std::move(std::get<2>(entry)));
  }
  return list;
}

json ElementNotes::toJson() const {
  json result = json::object();
  if (failure_ && !succeeded_) {
    result["error"] = static_cast<int32_t>(*failure_);
    return result;
  }
  json& attributes = result["attributes"] = json::object();
  for (const auto& [name, value] : allValues()) {
    attributes[wellFormedUtf8(name)] = recorded_values::toJson(value);
  }
  for (const auto& [name, answers] : answers_) {
    result["parameterized"][wellFormedUtf8(name)] = answersToJson(answers);
  }
  for (const std::string& action : actions_) {
    result["actions"].push_back(wellFormedUtf8(action));
  }
  return result;
}

}  // namespace jumplark
