#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/AttributeValue.h"

namespace jumplark {

class JLElement;

/// Decides which texts of an element are searchable, by its role and subrole, and reads them in one call. Any thread.
class JLElementAttributeExtractor {
 public:
  using Compute = std::function<std::optional<std::string>(const JLElement& element)>;
  /// The name of an attribute to read or, with `compute`, a text to work out under that name.
  struct Entry {
    std::string name;
    Compute compute;
    bool isPlainName() const { return !compute; }
  };
  using AttributeList = std::vector<Entry>;
  /// Names with their values, in the order of the list, each name once. None stands for a missing value.
  using AttributesDictionary = std::vector<std::pair<std::string, AttributeValue>>;

  /// For every role and subrole without an entry of its own.
  static const AttributeList& defaultAttributeList();
  static const std::map<std::string, AttributeList>& usefulAttributeMapping();
  static AttributeList usefulAttributeNamesForRole(const std::optional<std::string>& role);

  /// The entries that are plain names, in order.
  static std::vector<std::string> filterUsableAttributeValues(const AttributeList& list);
  /// The values of the plain names in name order, followed by the computed texts in list order; an empty text for a
  /// computed one that gives none.
  static AttributeValue::List fetchUsableAttributesForElement(const AttributeList& list, const JLElement& element);
  static AttributeValue::List usefulAttributesForElement(const JLElement& element);

  /// Pairs the names of the element's list with the values by position. Since computed texts come last among the
  /// values, a computed entry that is not last in its list shifts the pairing: a menu-bar item's computed title stands
  /// under "AXHelp". When a name occurs twice the later value wins.
  static AttributesDictionary attributesDictionaryForElement(const JLElement& element);
};

}  // namespace jumplark
