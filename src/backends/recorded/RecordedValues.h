#pragma once

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

#include "platform/AttributeValue.h"

/// Attribute values as a recording writes them: texts, numbers, booleans, null, {"ref": id}, {"point": [x, y]},
/// {"size": [w, h]}, {"rect": [x, y, w, h]}, {"range": [location, length]}, {"error": code} and lists of these.
namespace jumplark::recorded_values {

/// What turns an id into a reference. May throw.
using ReferenceMaker = std::function<ElementRef(const std::string& id)>;

/// Throws std::invalid_argument with what is wrong. Recurses as deep as the JSON is nested.
AttributeValue fromJson(const nlohmann::json& json, const ReferenceMaker& makeReference);

/// The "when" of an answer: a value as above, or an object of members.
AttributeValue conditionFromJson(const nlohmann::json& json, const ReferenceMaker& makeReference);

/// Broken UTF-8 becomes U+FFFD. Numbers that JSON cannot write (infinite, not a number), dictionaries and empty
/// references become null.
nlohmann::json toJson(const AttributeValue& value);

/// As toJson, but a dictionary is written as an object of members, as in a "when".
nlohmann::json conditionToJson(const AttributeValue& value);

/// Whether a parameter meets a condition: every member of a dictionary is in the parameter and equal to it, anything
/// else equals the whole parameter. 1 and 1.0 are equal, true and 1 are not.
bool meetsCondition(const AttributeValue& parameter, const AttributeValue& condition);

}  // namespace jumplark::recorded_values
