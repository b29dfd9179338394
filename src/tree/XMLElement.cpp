#include "tree/XMLElement.h"

#include <memory>

namespace jumplark::xml {

std::optional<std::string> attribute(const xmlNode* element, const char* name) {
  for (const xmlAttr* candidate = element->properties; candidate; candidate = candidate->next) {
    if (xmlStrEqual(candidate->name, reinterpret_cast<const xmlChar*>(name))) {
      return valueOf(candidate);
    }
  }
  return std::nullopt;
}

const char* valueOf(const xmlAttr* attribute) {
  const xmlNode* text = attribute->children;
  return text && text->content ? reinterpret_cast<const char*>(text->content) : "";
}

void setAttribute(xmlNode* element, const char* name, const std::string& value) {
  xmlUnsetProp(element, reinterpret_cast<const xmlChar*>(name));
  addAttribute(element, name, value);
}

std::string prettyText(xmlDoc* document, xmlNode* element) {
  const std::unique_ptr<xmlBuffer, decltype(&xmlBufferFree)> buffer(xmlBufferCreate(), &xmlBufferFree);
  xmlNodeDump(buffer.get(), document, element, 0, 1);
  return {reinterpret_cast<const char*>(xmlBufferContent(buffer.get())),
          static_cast<size_t>(xmlBufferLength(buffer.get()))};
}

}  // namespace jumplark::xml
