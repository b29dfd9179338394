#pragma once

#include <libxml/tree.h>

#include <optional>
#include <string>

/// A few operations on libxml2 elements, with UTF-8 texts. Texts must be free of characters that XML does not allow.
namespace jumplark::xml {

inline const xmlChar* chars(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

/// The string value of an attribute; none when the element has none of that name.
std::optional<std::string> attribute(const xmlNode* element, const char* name);

/// The value of an attribute node as it stands in the document.
const char* valueOf(const xmlAttr* attribute);

/// Removes any attribute of that name and adds a new one at the end.
void setAttribute(xmlNode* element, const char* name, const std::string& value);

/// Adds an attribute that is known not to be there yet.
inline void addAttribute(xmlNode* element, const char* name, const std::string& value) {
  xmlNewProp(element, reinterpret_cast<const xmlChar*>(name), chars(value));
}

/// The element as XML text, indented, empty elements compact.
std::string prettyText(xmlDoc* document, xmlNode* element);

}  // namespace jumplark::xml
