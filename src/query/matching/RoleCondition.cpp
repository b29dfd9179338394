#include "query/matching/RoleCondition.h"

#include <array>

#include "tree/StrippedNames.h"

namespace jumplark {

namespace {

constexpr std::array kActionableRoles = {
    "AXTextField",          "AXTextArea",    "AXLink",        "AXButton",     "AXComboBox", "AXPopUpButton",
    "AXStaticText",         "AXRadioButton", "AXCheckBox",    "AXMenuButton", "AXMenuItem", "AXImage",
    "AXDisclosureTriangle", "AXCell",        "AXMenuBarItem", "AXSlider",     "AXDockItem"};

std::string makePattern() {
  std::string names;
  for (const char* role : kActionableRoles) {
    names += (names.empty() ? "" : "|") + strippedName(role);
  }
  return "^(" + names + ")$";
}

}  // namespace

const std::string& rolePattern() {
  static const std::string pattern = makePattern();
  return pattern;
}

const std::string& roleConditionText() {
  static const std::string text = "[matches(@Role, '" + rolePattern() + "')]";
  return text;
}

}  // namespace jumplark
