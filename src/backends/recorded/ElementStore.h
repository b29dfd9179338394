#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/AttributeValue.h"

namespace jumplark {

/// One way in which a parameterized attribute answers.
struct RecordedAnswer {
  std::optional<AttributeValue> when;  ///< none answers every parameter
  AttributeValue value;
};

/// One element: what its reads answer. Names are numbers of the store's name table.
struct RecordedElement {
  using NameNumber = uint32_t;

  ElementRef ref;
  bool present = false;                                           ///< false: only mentioned, or removed since
  AccessibilityError error = AccessibilityError::success;         ///< with which every read fails
  double delayMilliseconds = 0;                                   ///< that every read takes
  std::vector<std::pair<NameNumber, AttributeValue>> attributes;  ///< by name number; none: supported, no value
  std::vector<std::pair<NameNumber, std::vector<RecordedAnswer>>> parameterized;  ///< by name number
  std::vector<std::string> actions;

  const AttributeValue* attribute(NameNumber name) const;
  const std::vector<RecordedAnswer>* answers(NameNumber name) const;
};

/// The elements of a recording by id, kept for fast reads: one handle an element for good, attribute names as numbers,
/// attributes in one sorted run. Not safe on several threads. Copies share their handles, so that a reference of one is
/// good in the other.
class ElementStore {
 public:
  using NameNumber = RecordedElement::NameNumber;

  /// The reference of an id. An id that is new is noted, its element is not present before define().
  ElementRef mention(std::string_view id);
  /// Makes the element present. The reference stays good until the next mention() or define().
  RecordedElement& define(std::string_view id);

  /// The element behind a reference of this or any other store, also one that is not present; null when the id was
  /// never mentioned.
  const RecordedElement* find(const ElementRef& ref) const;
  RecordedElement* find(const ElementRef& ref);
  const RecordedElement* find(std::string_view id) const;

  /// The number of a name, made if it is new.
  NameNumber intern(std::string_view name);
  std::optional<NameNumber> numberOf(std::string_view name) const;
  const std::string& nameOf(NameNumber number) const { return names_[number]; }

  const AttributeValue* attribute(const RecordedElement& element, std::string_view name) const;
  void setAttribute(RecordedElement& element, std::string_view name, AttributeValue value);
  void setAnswers(RecordedElement& element, std::string_view name, std::vector<RecordedAnswer> answers);
  /// Makes an attribute unsupported.
  void removeAttribute(RecordedElement& element, std::string_view name);

  /// In order of first mention.
  const std::vector<RecordedElement>& all() const { return elements_; }
  size_t indexOf(const RecordedElement& element) const { return static_cast<size_t>(&element - elements_.data()); }

 private:
  struct TextHash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
  };

  std::optional<size_t> indexOf(const ElementRef& ref) const;

  std::vector<RecordedElement> elements_;
  std::unordered_map<std::string, size_t, TextHash, std::equal_to<>> indexById_;
  std::vector<std::string> names_;
  std::unordered_map<std::string, NameNumber, TextHash, std::equal_to<>> numberByName_;
};

}  // namespace jumplark
