#include "metrics/MetricEvents.h"

#include <fmt/format.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <array>
#include <cmath>
#include <stdexcept>

#include "query/text/TextUtilities.h"
#include "query/text/Utf.h"

namespace jumplark {
namespace {

std::optional<nlohmann::json> jsonFromList(const AttributeValue::List& list) {
  nlohmann::json result = nlohmann::json::array();
  for (const AttributeValue& entry : list) {
    auto converted = jsonFromValue(entry);
    if (!converted) {
      return std::nullopt;
    }
    result.push_back(std::move(*converted));
  }
  return result;
}

std::optional<nlohmann::json> jsonFromDictionary(const AttributeValue::Dictionary& dictionary) {
  nlohmann::json result = nlohmann::json::object();
  for (const auto& [key, value] : dictionary) {
    auto name = jsonFromValue(key);
    auto converted = jsonFromValue(value);
    if (!name || !converted) {
      return std::nullopt;
    }
    result[key] = std::move(*converted);
  }
  return result;
}

}  // namespace

std::string uuidString(const SystemFacts::RandomBytes& bytes) {
  SystemFacts::RandomBytes id = bytes;
  id[6] = static_cast<uint8_t>((id[6] & 0x0FU) | 0x40U);  // version 4: random
  id[8] = static_cast<uint8_t>((id[8] & 0x3FU) | 0x80U);  // variant of RFC 4122
  std::string text;
  for (size_t i = 0; i < id.size(); ++i) {
    const bool startsGroup = i == 4 || i == 6 || i == 8 || i == 10;
    text += fmt::format("{}{:02X}", startsGroup ? "-" : "", id.at(i));
  }
  return text;
}

double fractionalSeconds(Duration time) {
  // Nanoseconds since 1970 are beyond the integers that a double holds exactly, microseconds are not.
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(time);
  return static_cast<double>(microseconds.count()) / 1e6;
}

std::optional<nlohmann::json> jsonFromValue(const AttributeValue& value) {
  if (value.isNone()) {
    return nlohmann::json();
  }
  if (const bool* boolean = value.boolean()) {
    return nlohmann::json(*boolean);
  }
  if (const int64_t* integer = value.integer()) {
    return nlohmann::json(*integer);
  }
  if (const double* number = value.number()) {
    return std::isfinite(*number) ? std::optional(nlohmann::json(*number)) : std::nullopt;
  }
  if (const std::string* text = value.text()) {
    return toUTF8(toUTF16(*text)) == *text ? std::optional(nlohmann::json(*text)) : std::nullopt;
  }
  if (const auto* list = value.list()) {
    return jsonFromList(*list);
  }
  const auto* dictionary = value.dictionary();
  return dictionary ? jsonFromDictionary(*dictionary) : std::nullopt;
}

MetricData sanitizedData(const MetricData& data) {
  MetricData result;
  for (const auto& [key, value] : data) {
    const double* const number = value.number();
    if (const auto* dictionary = value.dictionary()) {
      result[key] = sanitizedData(*dictionary);
    } else {
      result[key] = number && !std::isfinite(*number) ? AttributeValue() : value;
    }
  }
  return result;
}

nlohmann::json parsedWithinDepth(std::string_view text) {
  constexpr int kDeepest = 100;
  bool isTooDeep = false;
  const auto look = [&isTooDeep](int depth, nlohmann::json::parse_event_t, const nlohmann::json&) {
    isTooDeep = isTooDeep || depth > kDeepest;
    return !isTooDeep;
  };
  nlohmann::json parsed = nlohmann::json::parse(text, look, false);
  return isTooDeep ? nlohmann::json(nlohmann::json::value_t::discarded) : parsed;
}

std::string hmacSHA256Base64(std::string_view key, std::string_view message) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> code{};
  unsigned int length = 0;
  if (HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
           reinterpret_cast<const unsigned char*>(message.data()), message.size(), code.data(), &length) == nullptr) {
    throw std::runtime_error("HMAC-SHA-256 is not available");
  }
  return base64String({reinterpret_cast<const char*>(code.data()), length});
}

}  // namespace jumplark
