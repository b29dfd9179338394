#include <gtest/gtest.h>

#include "accessibility/JLElementAttributeExtractor.h"
#include "support/DesktopText.h"
#include "support/RecordedFixture.h"

namespace jumplark {
namespace {

using testing::DesktopText;
using testing::RecordedFixture;
using Pairs = std::vector<std::pair<std::string, std::string>>;

const std::string kDesktop = DesktopText::of(R"(
  button AXButton AXTitle="OK" AXValue=1
  search AXTextField AXSubrole="AXSearchField" AXValue="v" AXPlaceholderValue="p" AXRoleDescription="search"
  area AXTextArea AXValue="everything" AXVisibleCharacterRange={"range":[5,3]}
  owner AXApplication AXTitle="Editor"
    bar AXMenuBar AXTitle="ignored"
      file AXMenuBarItem AXTitle="File" AXDescription="d" AXHelp="h"
      untitled AXMenuBarItem AXTitle=""
  twice AXOther AXSubrole="AXMore" AXTitle="t" AXValue="v" AXDescription="d")");

struct Case {
  const char* id;
  Pairs expected;  ///< a dash stands for no value
};

TEST(JLElementAttributeExtractor, PairsNamesAndValuesByPosition) {
  RecordedFixture desktop(kDesktop);
  desktop->accessibility().setParameterized("area", "AXStringForRange", {{Range{5, 3}, "vis"}});
  const std::vector<Case> cases = {
      {"button", {{"AXTitle", "OK"}, {"AXValue", "1"}, {"AXDescription", "-"}}},
      {"search",
       {{"AXValue", "v"}, {"AXPlaceholderValue", "p"}, {"AXDescription", "-"}, {"AXRoleDescription", "search"}}},
      {"area", {{"AXVisibleText", "vis"}}},
      {"file", {{"AXTitle", "d"}, {"AXDescription", "h"}, {"AXHelp", "File"}}},
      {"untitled", {{"AXTitle", "-"}, {"AXDescription", "-"}, {"AXHelp", "Editor"}}},
      {"twice", {{"AXTitle", "t"}, {"AXValue", "v"}, {"AXDescription", "d"}}},
  };
  for (const Case& c : cases) {
    Pairs found;
    for (const auto& [name, value] :
         JLElementAttributeExtractor::attributesDictionaryForElement(*desktop.element(c.id))) {
      found.emplace_back(name, value.isNone() ? "-" : value.description());
    }
    EXPECT_EQ(found, c.expected) << c.id;
  }
  EXPECT_EQ(JLElementAttributeExtractor::usefulAttributesForElement(*desktop.element("button")),
            (AttributeValue::List{"OK", 1, {}}));
}

}  // namespace
}  // namespace jumplark
