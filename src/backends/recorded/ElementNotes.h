#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/Accessibility.h"

namespace jumplark {

/// What was seen of one element, and how a recording tells it. Not safe on several threads.
///
/// The latest success of a read counts; a failure counts only while there is none. A failure that says something about
/// the attribute (unsupported, no value) is told apart from one of the whole element (gone, timed out).
class ElementNotes {
 public:
  explicit ElementNotes(ElementRef element) : element_(std::move(element)) {}

  void noteNames(const AccessibilityResult<std::vector<std::string>>& names);
  void noteParameterizedNames(const AccessibilityResult<std::vector<std::string>>& names);
  void noteValue(const std::string& name, const AccessibilityResult<AttributeValue>& result);
  /// One entry of an answer to several attributes: a value, or a packed error in its place.
  void noteEntry(const std::string& name, const AttributeValue& entry);
  void noteSlice(const std::string& name, int64_t index, const AccessibilityResult<AttributeValue::List>& result);
  void noteCount(const std::string& name, const AccessibilityResult<int64_t>& result);
  void noteAnswer(const std::string& name, const AttributeValue& parameter,
                  const AccessibilityResult<AttributeValue>& result);
  void noteAction(const std::string& action) { actions_.insert(action); }
  /// The failure of a read that concerns the element as a whole.
  void noteFailure(AccessibilityError error);

  const ElementRef& element() const { return element_; }
  /// A text that was seen, if it was.
  std::optional<std::string> text(const std::string& name) const;
  /// Whether a value was seen that nobody must know should the element be a password field.
  bool holdsContents() const;
  /// Forgets what is in the field; what could tell it becomes unsupported.
  void dropContents();
  /// Texts of all references in what was seen.
  void addReferences(std::set<std::string>& ids) const;

  /// The element as a recording has it.
  nlohmann::json toJson() const;

 private:
  struct Slices {
    std::map<int64_t, AttributeValue> entries;
    int64_t count = 0;
  };
  struct Answer {
    AttributeValue parameter;
    AttributeValue value;
  };

  static bool answersText(const std::vector<Answer>& answers);
  static nlohmann::json answersToJson(const std::vector<Answer>& answers);
  std::map<std::string, AttributeValue> allValues() const;

  ElementRef element_;
  std::map<std::string, AttributeValue> values_;
  std::map<std::string, Slices> slices_;
  std::map<std::string, AccessibilityError> valueErrors_;
  std::set<std::string> supported_;  ///< listed, or seen without a value
  std::map<std::string, std::vector<Answer>> answers_;
  std::set<std::string> actions_;
  std::optional<AccessibilityError> failure_;
  bool succeeded_ = false;
};

}  // namespace jumplark
