#include "overlay/JLDiscoveryViewController.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "accessibility/JLElement.h"
#include "accessibility/JLElementAttributeExtractor.h"
#include "platform/Texts.h"
#include "tree/StrippedNames.h"

namespace jumplark {
namespace {

std::string typeLine(const std::shared_ptr<JLElement>& element) {
  std::vector<std::string> roles = element ? element->roles() : std::vector<std::string>();
  for (std::string& role : roles) {
    role = strippedName(role);
  }
  return localizedFormat("Type: {}", fmt::join(roles, ", "));
}

/// The names of attributes that have texts, for the catalogues.
[[maybe_unused]] constexpr const char* kNames[] = {textForLater("Title"),          textForLater("Value"),
                                                   textForLater("VisibleText"),    textForLater("Description"),
                                                   textForLater("Help"),           textForLater("PlaceholderValue"),
                                                   textForLater("RoleDescription")};

std::string onOneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  return text;
}

}  // namespace

JLDiscoveryViewController JLDiscoveryViewController::controllerForElement(const std::shared_ptr<JLElement>& element) {
  std::vector<std::string> lines = {typeLine(element)};
  JLElementAttributeExtractor::AttributesDictionary attributes;
  if (element) {
    attributes = JLElementAttributeExtractor::attributesDictionaryForElement(*element);
  }
  std::sort(attributes.begin(), attributes.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  for (const auto& [name, value] : attributes) {
    if (value.text() && !value.text()->empty()) {
      lines.push_back(fmt::format("{}: {}", localized(strippedName(name).c_str()), onOneLine(*value.text())));
    }
  }
  JLDiscoveryViewController controller;
  controller.setText(fmt::format("{}", fmt::join(lines, "\n")));
  return controller;
}

}  // namespace jumplark
