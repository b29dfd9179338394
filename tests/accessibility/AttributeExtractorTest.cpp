#include <gtest/gtest.h>

#include "accessibility/JLElementAttributeExtractor.h"
#include "support/RecordedFixture.h"

namespace jumplark {
namespace {

using testing::RecordedFixture;
using Pairs = std::vector<std::pair<std::string, std::string>>;

const char* const kDesktop = R"({"elements":{
  "button":{"attributes":{"AXRole":"AXButton","AXTitle":"OK","AXValue":1}},
  "search":{"attributes":{"AXRole":"AXTextField","AXSubrole":"AXSearchField","AXValue":"v","AXPlaceholderValue":"p",
            "AXRoleDescription":"search"}},
  "area":{"attributes":{"AXRole":"AXTextArea","AXValue":"everything","AXVisibleCharacterRange":{"range":[5,3]}},
          "parameterized":{"AXStringForRange":[{"when":{"range":[5,3]},"value":"vis"}]}},
  "bar":{"attributes":{"AXRole":"AXMenuBar","AXTitle":"ignored","AXParent":{"ref":"owner"}}},
  "owner":{"attributes":{"AXRole":"AXApplication","AXTitle":"Editor"}},
  "file":{"attributes":{"AXRole":"AXMenuBarItem","AXTitle":"File","AXDescription":"d","AXHelp":"h",
          "AXParent":{"ref":"bar"}}},
  "untitled":{"attributes":{"AXRole":"AXMenuBarItem","AXTitle":"","AXParent":{"ref":"bar"}}},
  "twice":{"attributes":{"AXRole":"AXOther","AXSubrole":"AXMore","AXTitle":"t","AXValue":"v","AXDescription":"d"}}
 }})";

struct Case {
  const char* id;
  Pairs expected;  ///< a dash stands for no value
};

TEST(JLElementAttributeExtractor, PairsNamesAndValuesByPosition) {
  RecordedFixture desktop(kDesktop);
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
}

}  // namespace
}  // namespace jumplark
