#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "backends/linux/atspi/vocabulary/TreeShape.h"
#include "backends/linux/atspi/vocabulary/Vocabulary.h"

/// "AX" attributes of an element. One that an element of its kind cannot have is attributeUnsupported; one that it has
/// but that is empty is noValue, never an empty text.
namespace jumplark::atspi {

using AttributeAnswer = AccessibilityResult<AttributeValue>;

/// The names that the element supports, without a message beyond its identity.
std::vector<std::string> attributeNames(const Subject& subject);
std::vector<std::string> parameterizedAttributeNames(const Subject& subject);

/// The groups of facts that these attributes of any element are answered from, to be read in one go.
facts::Set groupsFor(const std::vector<std::string>& names);

AttributeAnswer attributeValue(const Subject& subject, std::string_view name);

/// A list attribute, to be read in slices. The list is absent for an attribute that is not a list.
struct ListAnswer {
  AccessibilityError error = AccessibilityError::success;
  std::optional<ElementList> list;
};
ListAnswer listAttribute(const Subject& subject, std::string_view name);

}  // namespace jumplark::atspi
