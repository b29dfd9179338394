#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "metrics/JLMetrics.h"
#include "platform/Queues.h"
#include "platform/SystemFacts.h"

/// Metric events as JSON.
namespace jumplark {

/// Random bytes as a version 4 identifier of RFC 4122, in upper-case hexadecimal.
std::string uuidString(const SystemFacts::RandomBytes& bytes);

/// A time as seconds with fractions, to the microsecond.
double fractionalSeconds(Duration time);

/// None where JSON has no such value: a packed value, an element, a number that is infinite or none, a text that is not
/// UTF-8.
std::optional<nlohmann::json> jsonFromValue(const AttributeValue& value);

/// A dictionary with its own numbers that are infinite or none, and those of dictionaries in it, replaced by "no
/// value", which is null in JSON. Lists stay as they are.
MetricData sanitizedData(const MetricData& data);

/// What was kept in a file; discarded when it does not parse. Something nested deeper than any event is counts as that,
/// because writing it needs stack.
nlohmann::json parsedWithinDepth(std::string_view text);

/// Base64 of the HMAC-SHA-256 of the message.
std::string hmacSHA256Base64(std::string_view key, std::string_view message);

}  // namespace jumplark
