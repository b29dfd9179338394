#include "platform/AttributeValue.h"

#include <fmt/format.h>

#include <cmath>

namespace jumplark {
namespace {

std::string describeNumber(double number) {
  constexpr double kExactIntegers = 9007199254740992.0;  // 2^53, the last before gaps
  if (std::trunc(number) == number && std::fabs(number) <= kExactIntegers) {
    return fmt::format("{}", static_cast<int64_t>(number));
  }
  return fmt::format("{}", number);
}

std::string describeRect(const Rect& r) {
  return fmt::format("{{{{{}, {}}}, {{{}, {}}}}}", r.x, r.y, r.width, r.height);
}

struct Describe {
  std::string operator()(std::monostate) const { return {}; }
  std::string operator()(bool value) const { return value ? "1" : "0"; }
  std::string operator()(int64_t value) const { return fmt::format("{}", value); }
  std::string operator()(double value) const { return describeNumber(value); }
  std::string operator()(const std::string& value) const { return value; }
  std::string operator()(const ElementRef& value) const { return value.text(); }
  std::string operator()(Point value) const { return fmt::format("{{{}, {}}}", value.x, value.y); }
  std::string operator()(Size value) const { return fmt::format("{{{}, {}}}", value.width, value.height); }
  std::string operator()(const Rect& value) const { return describeRect(value); }
  std::string operator()(Range value) const { return fmt::format("{{{}, {}}}", value.location, value.length); }
  std::string operator()(AccessibilityError value) const { return fmt::format("{}", static_cast<int32_t>(value)); }
  std::string operator()(const std::shared_ptr<const AttributeValue::List>& value) const {
    std::string text = "(";
    for (size_t i = 0; i < value->size(); ++i) {
      text += (i ? ", " : "") + (*value)[i].description();
    }
    return text + ")";
  }
  std::string operator()(const std::shared_ptr<const AttributeValue::Dictionary>& value) const {
    std::string text = "{";
    for (const auto& [key, entry] : *value) {
      text += fmt::format("{} = {}; ", key, entry.description());
    }
    return text + "}";
  }
};

}  // namespace

const std::string& ElementRef::text() const {
  static const std::string none;
  return handle_ ? handle_->text() : none;
}

PackedValueType AttributeValue::packedType() const {
  if (point()) {
    return PackedValueType::point;
  }
  if (size()) {
    return PackedValueType::size;
  }
  if (rect()) {
    return PackedValueType::rect;
  }
  if (range()) {
    return PackedValueType::range;
  }
  return error() ? PackedValueType::error : PackedValueType::notPacked;
}

const AttributeValue::List* AttributeValue::list() const {
  const auto* shared = std::get_if<SharedList>(&value_);
  return shared ? shared->get() : nullptr;
}

const AttributeValue::Dictionary* AttributeValue::dictionary() const {
  const auto* shared = std::get_if<SharedDictionary>(&value_);
  return shared ? shared->get() : nullptr;
}

std::string AttributeValue::description() const {
  return std::visit(Describe{}, value_);
}

bool operator==(const AttributeValue& a, const AttributeValue& b) {
  if (a.list() && b.list()) {
    return *a.list() == *b.list();
  }
  if (a.dictionary() && b.dictionary()) {
    return *a.dictionary() == *b.dictionary();
  }
  return a.value_ == b.value_;
}

}  // namespace jumplark
