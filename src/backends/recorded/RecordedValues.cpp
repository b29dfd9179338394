#include "backends/recorded/RecordedValues.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "platform/Texts.h"
#include "platform/Utf8.h"

namespace jumplark::recorded_values {
namespace {

using nlohmann::json;

constexpr std::array kKinds = {"ref", "point", "size", "rect", "range", "error"};

bool isKind(const std::string& name) {
  return std::find(kKinds.begin(), kKinds.end(), name) != kKinds.end();
}

template <size_t N>
std::array<double, N> numbers(const json& value, const std::string& kind) {
  std::array<double, N> result{};
  bool fits = value.is_array() && value.size() == N;
  for (size_t i = 0; fits && i < N; ++i) {
    fits = value[i].is_number();
    result[i] = fits ? value[i].get<double>() : 0;
  }
  if (!fits) {
    throw std::invalid_argument(localizedFormat("\"{}\" must be a list of {} numbers", kind, N));
  }
  return result;
}

/// Whole numbers that a signed 64-bit integer holds.
bool isWhole(const json& value) {
  return value.is_number_integer() &&
         (!value.is_number_unsigned() || value.get<uint64_t>() <= uint64_t{std::numeric_limits<int64_t>::max()});
}

AttributeValue rangeFromJson(const json& value) {
  if (!value.is_array() || value.size() != 2 || !isWhole(value[0]) || !isWhole(value[1])) {
    throw std::invalid_argument(localized("\"range\" must be a list of 2 whole numbers"));
  }
  return Range{value[0].get<int64_t>(), value[1].get<int64_t>()};
}

AttributeValue errorFromJson(const json& value) {
  const int64_t code = isWhole(value) ? value.get<int64_t>() : std::numeric_limits<int64_t>::max();
  if (code < std::numeric_limits<int32_t>::min() || code > std::numeric_limits<int32_t>::max()) {
    throw std::invalid_argument(localized("\"error\" must be a whole number of 32 bits"));
  }
  return static_cast<AccessibilityError>(code);
}

AttributeValue kindFromJson(const std::string& kind, const json& value, const ReferenceMaker& makeReference) {
  if (kind == "ref") {
    if (!value.is_string()) {
      throw std::invalid_argument(localized("\"ref\" must be the id of an element"));
    }
    return makeReference(value.get_ref<const std::string&>());
  }
  if (kind == "point") {
    const auto n = numbers<2>(value, kind);
    return Point{n[0], n[1]};
  }
  if (kind == "size") {
    const auto n = numbers<2>(value, kind);
    return Size{n[0], n[1]};
  }
  if (kind == "rect") {
    const auto n = numbers<4>(value, kind);
    return Rect{n[0], n[1], n[2], n[3]};
  }
  if (kind == "range") {
    return rangeFromJson(value);
  }
  if (kind == "error") {
    return errorFromJson(value);
  }
  throw std::invalid_argument(localizedFormat("unknown kind of value \"{}\"", kind));
}

AttributeValue listFromJson(const json& values, const ReferenceMaker& makeReference) {
  AttributeValue::List list;
  list.reserve(values.size());
  for (const json& entry : values) {
    list.push_back(fromJson(entry, makeReference));
  }
  return list;
}

json packed(const char* kind, std::initializer_list<double> numbers) {
  const bool writable = std::all_of(numbers.begin(), numbers.end(), [](double n) { return std::isfinite(n); });
  return writable ? json{{kind, std::vector<double>(numbers)}} : json(nullptr);
}

bool sameValue(const AttributeValue& a, const AttributeValue& b) {
  if (a.integer() && b.number()) {
    return static_cast<double>(*a.integer()) == *b.number();
  }
  if (a.number() && b.integer()) {
    return sameValue(b, a);
  }
  if (a.list() && b.list()) {
    return a.list()->size() == b.list()->size() &&
           std::equal(a.list()->begin(), a.list()->end(), b.list()->begin(), sameValue);
  }
  return a == b;
}

}  // namespace

AttributeValue fromJson(const json& value, const ReferenceMaker& makeReference) {
  switch (value.type()) {
    case json::value_t::null:
      return {};
    case json::value_t::boolean:
      return value.get<bool>();
    case json::value_t::string:
      return value.get_ref<const std::string&>();
    case json::value_t::array:
      return listFromJson(value, makeReference);
    case json::value_t::object:
      if (value.size() != 1) {
        throw std::invalid_argument(localized("an object must have one member, which tells the kind of value"));
      }
      return kindFromJson(value.begin().key(), value.begin().value(), makeReference);
    default:
      return isWhole(value) ? AttributeValue(value.get<int64_t>()) : AttributeValue(value.get<double>());
  }
}

AttributeValue conditionFromJson(const json& value, const ReferenceMaker& makeReference) {
  if (!value.is_object() || (value.size() == 1 && isKind(value.begin().key()))) {
    return fromJson(value, makeReference);
  }
  AttributeValue::Dictionary members;
  for (const auto& [name, member] : value.items()) {
    members[name] = conditionFromJson(member, makeReference);
  }
  return members;
}

json toJson(const AttributeValue& value) {
  if (value.boolean()) {
    return *value.boolean();
  }
  if (value.integer()) {
    return *value.integer();
  }
  if (value.number()) {
    return std::isfinite(*value.number()) ? json(*value.number()) : json(nullptr);
  }
  if (value.text()) {
    return wellFormedUtf8(*value.text());
  }
  if (value.element()) {
    return *value.element() ? json{{"ref", wellFormedUtf8(value.element()->text())}} : json(nullptr);
  }
  if (const Point* p = value.point()) {
    return packed("point", {p->x, p->y});
  }
  if (const Size* s = value.size()) {
    return packed("size", {s->width, s->height});
  }
  if (const Rect* r = value.rect()) {
    return packed("rect", {r->x, r->y, r->width, r->height});
  }
  if (const Range* r = value.range()) {
    return {{"range", {r->location, r->length}}};
  }
  if (value.error()) {
    return {{"error", static_cast<int32_t>(*value.error())}};
  }
  if (value.list()) {
    json list = json::array();
    for (const AttributeValue& entry : *value.list()) {
      list.push_back(toJson(entry));
    }
    return list;
  }
  return nullptr;
}

json conditionToJson(const AttributeValue& value) {
  if (!value.dictionary()) {
    return toJson(value);
  }
  json members = json::object();
  for (const auto& [name, member] : *value.dictionary()) {
    members[wellFormedUtf8(name)] = conditionToJson(member);
  }
  return members;
}

bool meetsCondition(const AttributeValue& parameter, const AttributeValue& condition) {
  const auto* wanted = condition.dictionary();
  if (!wanted) {
    return sameValue(parameter, condition);
  }
  const auto* given = parameter.dictionary();
  return std::all_of(wanted->begin(), wanted->end(), [&](const auto& member) {
    if (!given) {
      return false;
    }
    const auto found = given->find(member.first);
    return found != given->end() && meetsCondition(found->second, member.second);
  });
}

}  // namespace jumplark::recorded_values
