#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

/// What a compositor tells, by name; of another kind than expected counts as absent, and what is no object has nothing.
namespace jumplark::loose_json {

/// 0 when it is none; nothing lies further away than any layout reaches.
double number(const nlohmann::json& value);
/// 0 when absent.
double number(const nlohmann::json& object, const char* key);
int64_t integer(const nlohmann::json& object, const char* key, int64_t otherwise);
std::string text(const nlohmann::json& object, const char* key);
bool flag(const nlohmann::json& object, const char* key);
/// An empty one when absent.
const nlohmann::json& list(const nlohmann::json& object, const char* key);
/// Null when absent.
const nlohmann::json& member(const nlohmann::json& object, const char* key);

}  // namespace jumplark::loose_json
