#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/Geometry.h"

namespace jumplark {

/// What an accessibility call answers besides its value. The codes below are the ones that platforms use; applications
/// may send any other, so a variable of this type can hold a value that is not listed.
enum class AccessibilityError : int32_t {
  success = 0,
  failure = -25200,
  illegalArgument = -25201,
  invalidElement = -25202,
  invalidObserver = -25203,
  cannotComplete = -25204,  ///< the application did not answer within the messaging time-out
  attributeUnsupported = -25205,
  actionUnsupported = -25206,
  notificationUnsupported = -25207,
  notImplemented = -25208,
  notificationAlreadyRegistered = -25209,
  notificationNotRegistered = -25210,
  apiDisabled = -25211,
  noValue = -25212,
  parameterizedAttributeUnsupported = -25213,
  notEnoughPrecision = -25214,
};

/// FNV-1a, 64 bits, over the bytes of a text (offset basis 0xcbf29ce484222325, prime 0x100000001b3).
constexpr uint64_t fnv1a64(std::string_view text) {
  uint64_t hash = 0xcbf29ce484222325ULL;
  for (const char c : text) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3ULL;
  }
  return hash;
}

/// What an element reference points to: known to the core only by its text form (a recording's element id, or the bus
/// name and object path of a live element). A platform derives from it to keep its own data beside the text.
class ElementHandle {
 public:
  explicit ElementHandle(std::string text) : text_(std::move(text)), hash_(fnv1a64(text_)) {}
  ElementHandle(const ElementHandle&) = delete;
  ElementHandle& operator=(const ElementHandle&) = delete;
  virtual ~ElementHandle() = default;

  const std::string& text() const { return text_; }
  uint64_t hash() const { return hash_; }

 private:
  std::string text_;
  uint64_t hash_;
};

/// A shared, hashable reference to one element of some application. Two references are equal when their text forms are.
/// May be empty (no element). Copying is cheap and safe on any thread.
class ElementRef {
 public:
  ElementRef() = default;
  explicit ElementRef(std::shared_ptr<const ElementHandle> handle) : handle_(std::move(handle)) {}

  explicit operator bool() const { return handle_ != nullptr; }
  const ElementHandle* get() const { return handle_.get(); }
  uint64_t hash() const { return handle_ ? handle_->hash() : 0; }
  const std::string& text() const;

  friend bool operator==(const ElementRef& a, const ElementRef& b) {
    return a.handle_ == b.handle_ ||
           (a.handle_ && b.handle_ && a.handle_->hash() == b.handle_->hash() && a.handle_->text() == b.handle_->text());
  }

 private:
  std::shared_ptr<const ElementHandle> handle_;
};

struct ElementRefHash {
  size_t operator()(const ElementRef& ref) const { return static_cast<size_t>(ref.hash()); }
};

/// Type numbers of packed values; 0 is every value that is not packed.
enum class PackedValueType { notPacked = 0, point = 1, size = 2, rect = 3, range = 4, error = 5 };

/// The value of an attribute: none, boolean, integer, number, text (UTF-8), element reference, list, dictionary, or one
/// of the packed kinds point, size, rectangle, range and error. None stands for "no value" and, as an entry of a list
/// of values, for the null marker. Packed geometry has a top-left origin.
class AttributeValue {
 public:
  using List = std::vector<AttributeValue>;
  using Dictionary = std::map<std::string, AttributeValue, std::less<>>;

  AttributeValue() = default;
  AttributeValue(bool value) : value_(value) {}                           // NOLINT(google-explicit-constructor)
  AttributeValue(int value) : value_(static_cast<int64_t>(value)) {}      // NOLINT(google-explicit-constructor)
  AttributeValue(int64_t value) : value_(value) {}                        // NOLINT(google-explicit-constructor)
  AttributeValue(double value) : value_(value) {}                         // NOLINT(google-explicit-constructor)
  AttributeValue(std::string value) : value_(std::move(value)) {}         // NOLINT(google-explicit-constructor)
  AttributeValue(std::string_view value) : value_(std::string(value)) {}  // NOLINT(google-explicit-constructor)
  AttributeValue(const char* value) : value_(std::string(value)) {}       // NOLINT(google-explicit-constructor)
  AttributeValue(ElementRef value) : value_(std::move(value)) {}          // NOLINT(google-explicit-constructor)
  AttributeValue(Point value) : value_(value) {}                          // NOLINT(google-explicit-constructor)
  AttributeValue(Size value) : value_(value) {}                           // NOLINT(google-explicit-constructor)
  AttributeValue(Rect value) : value_(value) {}                           // NOLINT(google-explicit-constructor)
  AttributeValue(Range value) : value_(value) {}                          // NOLINT(google-explicit-constructor)
  AttributeValue(AccessibilityError value) : value_(value) {}             // NOLINT(google-explicit-constructor)
  AttributeValue(List value) : value_(std::make_shared<const List>(std::move(value))) {}              // NOLINT
  AttributeValue(Dictionary value) : value_(std::make_shared<const Dictionary>(std::move(value))) {}  // NOLINT

  bool isNone() const { return std::holds_alternative<std::monostate>(value_); }
  PackedValueType packedType() const;

  /// The value as the named kind, or null when it is of another kind.
  const bool* boolean() const { return std::get_if<bool>(&value_); }
  const int64_t* integer() const { return std::get_if<int64_t>(&value_); }
  const double* number() const { return std::get_if<double>(&value_); }
  const std::string* text() const { return std::get_if<std::string>(&value_); }
  const ElementRef* element() const { return std::get_if<ElementRef>(&value_); }
  const Point* point() const { return std::get_if<Point>(&value_); }
  const Size* size() const { return std::get_if<Size>(&value_); }
  const Rect* rect() const { return std::get_if<Rect>(&value_); }
  const Range* range() const { return std::get_if<Range>(&value_); }
  const AccessibilityError* error() const { return std::get_if<AccessibilityError>(&value_); }
  const List* list() const;
  const Dictionary* dictionary() const;

  /// The value written as text: integral numbers without a fraction, booleans "1" and "0", an element as its text form.
  std::string description() const;

  /// Values of different kinds differ (true is not 1).
  friend bool operator==(const AttributeValue& a, const AttributeValue& b);

 private:
  using SharedList = std::shared_ptr<const List>;
  using SharedDictionary = std::shared_ptr<const Dictionary>;
  std::variant<std::monostate, bool, int64_t, double, std::string, ElementRef, Point, Size, Rect, Range,
               AccessibilityError, SharedList, SharedDictionary>
      value_;
};

}  // namespace jumplark
