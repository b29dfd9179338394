#include "backends/linux/wayland/LooseJson.h"

#include <algorithm>
#include <cmath>

namespace jumplark::loose_json {
namespace {

/// A layout is some thousand points wide; what is further away is a mistake.
constexpr double kFarthest = 1e6;

}  // namespace

const nlohmann::json& member(const nlohmann::json& object, const char* key) {
  static const nlohmann::json kNone;
  const auto found = object.is_object() ? object.find(key) : object.end();
  return found != object.end() ? *found : kNone;
}

double number(const nlohmann::json& value) {
  const double told = value.is_number() ? value.get<double>() : 0;
  return std::isfinite(told) ? std::clamp(told, -kFarthest, kFarthest) : 0;
}

double number(const nlohmann::json& object, const char* key) {
  return number(member(object, key));
}

int64_t integer(const nlohmann::json& object, const char* key, int64_t otherwise) {
  const nlohmann::json& found = member(object, key);
  return found.is_number_integer() ? found.get<int64_t>() : otherwise;
}

std::string text(const nlohmann::json& object, const char* key) {
  const nlohmann::json& found = member(object, key);
  return found.is_string() ? found.get<std::string>() : std::string();
}

bool flag(const nlohmann::json& object, const char* key) {
  const nlohmann::json& found = member(object, key);
  return found.is_boolean() && found.get<bool>();
}

const nlohmann::json& list(const nlohmann::json& object, const char* key) {
  static const nlohmann::json kEmpty = nlohmann::json::array();
  const nlohmann::json& found = member(object, key);
  return found.is_array() ? found : kEmpty;
}

}  // namespace jumplark::loose_json
