#include "backends/recorded/RecordedDesktop.h"

#include <gmock/gmock.h>

namespace jumplark {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

RecordedDesktop load(const std::string& text) {
  return RecordedDesktop::fromText(text, "test.json");
}

/// The message of the error that a text gives; empty when it loads.
std::string errorOf(const std::string& text) {
  try {
    load(text);
    return {};
  } catch (const RecordingError& error) {
    return error.what();
  }
}

/// A file with one element "e" that has these members.
std::string element(const std::string& members) {
  return R"({"elements": {"e": {)" + members + "}}}";
}
std::string attribute(const std::string& value) {
  return element(R"("attributes": {"A": )" + value + "}");
}

const char* const kWhole = R"({ "screens": [[0,0,1440,900],[1440,0,800,600]], "pointer": [700,450.5], "frontmost": 501,
  "applications": [{"pid":501, "bundle_id":"org.example.editor", "name":"Editor", "element":"e1"}, {"pid":502}],
  "dock": "org.example.panel", "hits": [[1,2.5,"e2"], [3,4,null]],
  "elements": { "e1": { "attributes": {"AXRole":"AXApplication", "AXChildren":[{"ref":"e2"}], "AXHelp":null},
                        "parameterized": {"P": [{"when":{"AXVisibleOnly":true}, "value":[{"ref":"e2"}]}]},
                        "actions": ["AXPress"] },
                "e2": { "error": -25202, "delay_ms": 12.5 } } })";

TEST(RecordedDesktop, readsEveryKindOfValue) {
  const struct {
    const char* json;
    AttributeValue value;
  } cases[] = {
      {R"("text")", "text"},
      {"true", true},
      {"1", 1},
      {"0, \"A\": 2", 2},  // the last of two counts
      {"1.0", 1.0},
      {"-9223372036854775808", std::numeric_limits<int64_t>::min()},
      {"18446744073709551615", 18446744073709551615.0},
      {"null", {}},
      {R"({"point":[1,-2.5]})", Point{1, -2.5}},
      {R"({"size":[3,4]})", Size{3, 4}},
      {R"({"rect":[1,2,3,4]})", Rect{1, 2, 3, 4}},
      {R"({"range":[9223372036854775807,-1]})", Range{Range::kNotFound, -1}},
      {R"({"error":-25204})", AccessibilityError::cannotComplete},
      {R"([1,["a",null],{"size":[1,2]}])",
       AttributeValue::List{1, AttributeValue::List{"a", AttributeValue()}, Size{1, 2}}},
      {R"("\u0000\ud83d\ude00")", std::string("\0\xF0\x9F\x98\x80", 5)},
  };
  for (const auto& [json, value] : cases) {
    const RecordedDesktop desktop = load(attribute(json));
    const RecordedElement* e = desktop.elements.find(std::string_view("e"));
    ASSERT_NE(e, nullptr) << json;
    EXPECT_EQ(*desktop.elements.attribute(*e, "A"), value) << json;
  }
}

TEST(RecordedDesktop, refusesWhatItCannotMeanAndSaysWhere) {
  const struct {
    std::string json;
    std::string message;
  } cases[] = {
      {"", "line 1, column 1"},
      {"[]", "must be an object"},
      {"{\n  \"pointer\": [1,\n  2\n", "line 4, column 1: the file ends too early"},
      {"{\n\n  \"pointer\": tru }", "line 3, column 17"},
      {R"({"pointer": [1,2]} trailing)", "line 1, column 22"},
      {R"({"pointer": [1e999,2]})", "line 1, column 18: this is no JSON"},
      {"{\"a\": \"\xff\"}", "line 1, column 8"},
      {R"({"a": "\ud800"})", "line 1"},
      {R"({"pointer": [1,2,3]})", "\"pointer\" must be"},
      {R"({"pointer": [1,2], "pointer": [1,2]})", "\"pointer\" occurs twice"},
      {R"({"screens": [[0,0,"a",1]]})", "\"screens\" must be"},
      {R"({"frontmost": 1.5})", "\"frontmost\" must be"},
      {R"({"dock": 3})", "\"dock\" must be"},
      {R"({"hits": [[1,2]]})", "\"hits\" must be"},
      {R"({"hits": [[1,2,"x"]]})", R"("hits": refers to "x")"},
      {R"({"applications": {}})", "\"applications\" must be"},
      {R"({"applications": [{"name":"a"}]})", "application 1"},
      {R"({"applications": [{"pid":1},{"pid":99999999999}]})", "application 2: \"pid\""},
      {R"({"applications": [{"pid":1},{"pid":1}]})", "application 2: another application has the \"pid\" 1"},
      {R"({"applications": [{"pid":1,"element":"x"}]})", R"(application 1: refers to "x")"},
      {R"({"applications": [{"pid":1,"menus":{}}]})", "application 1: \"menus\" must be a list"},
      {R"({"applications": [{"pid":1,"menus":[{"keys":"F1"}]}]})", "each command must be an object with a \"path\""},
      {R"({"applications": [{"pid":1,"menus":[{"path":["a",""]}]}]})", "\"path\" of titles"},
      {R"({"applications": [{"pid":1,"menus":[{"path":["a"],"keys":1}]}]})", "\"keys\" of a command"},
      {R"({"applications": [{"pid":1,"menus":[{"path":["a"],"mark":"on"}]}]})", "\"check\" or \"radio\""},
      {R"({"applications": [{"pid":1,"menus":[{"path":["a"],"open":1}]}]})", "\"open\" of a command must be true"},
      {R"({"elements": []})", "\"elements\" must be"},
      {R"({"elements": {"e": 1}})", R"(element "e": must be)"},
      {R"({"elements": {"e": {}, "e": {}}})", R"(element "e": occurs twice)"},
      {element(R"("attributes": [])"), R"(element "e": "attributes" must be)"},
      {element(R"("actions": ["a", 1])"), R"(element "e": "actions" must be)"},
      {element(R"("error": 0)"), R"(element "e": "error" must be)"},
      {element(R"("delay_ms": -1)"), R"(element "e": "delay_ms" must be)"},
      {attribute(R"({"ref": "gone"})"), R"(element "e", attribute "A": refers to "gone")"},
      {attribute(R"({"ref": 1})"), R"(element "e", attribute "A": "ref" must be)"},
      {attribute(R"({"pint": [1,2]})"), R"(element "e", attribute "A": unknown kind of value "pint")"},
      {attribute(R"({"point": [1,2], "size": [1,2]})"),
       R"(element "e", attribute "A": an object must have one member)"},
      {attribute(R"({"point": [1]})"), R"(element "e", attribute "A": "point" must be a list of 2 numbers)"},
      {attribute(R"({"rect": 5})"), R"("rect" must be a list of 4 numbers)"},
      {attribute(R"({"range": [0,18446744073709551615]})"), R"("range" must be a list of 2 whole numbers)"},
      {attribute(R"({"error": 99999999999})"), R"("error" must be a whole number)"},
      {attribute(R"([[{"ref":"gone"}]])"), R"(element "e", attribute "A": refers to "gone")"},
      {element(R"("parameterized": {"P": {"value":1}})"), R"(element "e", attribute "P": must be a list)"},
      {element(R"("parameterized": {"P": [{"when":1}]})"), R"(element "e", attribute "P": each entry)"},
      {element(R"("parameterized": {"P": [{"value":{"ref":"gone"}}]})"), R"(attribute "P": refers to "gone")"},
  };
  for (const auto& [json, message] : cases) {
    EXPECT_THAT(errorOf(json), AllOf(StartsWith("test.json: "), HasSubstr(message))) << json;
  }
}

TEST(RecordedDesktop, refusesEveryTruncationOfAFileWithAMessage) {
  const std::string whole = kWhole;
  ASSERT_EQ(errorOf(whole), "");
  for (size_t length = 0; length < whole.size(); ++length) {
    EXPECT_THAT(errorOf(whole.substr(0, length)), HasSubstr("line ")) << "cut at " << length;
  }
}

TEST(RecordedDesktop, survivesEveryByteThatIsReplaced) {
  const std::string whole = kWhole;
  for (size_t at = 0; at < whole.size(); ++at) {
    for (const char byte : {'"', '}', '[', '0', 'x', '\0', '\xff'}) {
      std::string broken = whole;
      broken[at] = byte;
      const std::string error = errorOf(broken);
      EXPECT_TRUE(error.empty() || error.starts_with("test.json: ")) << at;
    }
  }
}

TEST(RecordedDesktop, refusesJsonThatIsNestedTooDeep) {
  const int deep = 200'000;
  for (const std::string& start : {std::string("["), std::string(R"({"a":)"), std::string(R"({"elements":{"e":)")}) {
    EXPECT_THAT(errorOf(start + std::string(deep, '[')), StartsWith("test.json: "));
  }
  EXPECT_THAT(errorOf(attribute(std::string(deep, '[') + std::string(deep, ']'))),
              HasSubstr("nested more than 100 levels"));
  EXPECT_EQ(errorOf(attribute(std::string(90, '[') + std::string(90, ']'))), "");
}

TEST(RecordedDesktop, leavesWhatIsNotSaidAtItsDefault) {
  const RecordedDesktop empty = load("{}");
  EXPECT_THAT(empty.screens, IsEmpty());
  EXPECT_FALSE(empty.frontmost);
  EXPECT_EQ(empty.dockBundleIdentifier, "com.apple.dock");
  const char* const two = R"("applications": [{"pid":9,"bundle_id":"com.apple.dock"},{"pid":7}])";
  EXPECT_EQ(load(std::string("{") + two + "}").frontmost, 7);
  EXPECT_FALSE(load(std::string("{\"frontmost\":null,") + two + "}").frontmost);
}

TEST(RecordedDesktop, tellsOfMembersThatMeanNothing) {
  const RecordedDesktop desktop =
      load(R"({"pionter": [1,2], "_note": 1, "elements": {"e": {"comment": "x", "atributes": {}}}})");
  EXPECT_THAT(desktop.warnings,
              ElementsAre(HasSubstr("pionter"), AllOf(HasSubstr("atributes"), HasSubstr("element \"e\""))));
}

TEST(RecordedDesktop, aStoreKnowsReferencesOfOthersByTheirText) {
  const RecordedDesktop one = load(R"({"elements": {"a": {}, "b": {}}})");
  const RecordedDesktop two = load(R"({"elements": {"b": {"delay_ms": 1}, "a": {"delay_ms": 2}}})");
  const ElementRef a = one.elements.find(std::string_view("a"))->ref;
  EXPECT_EQ(two.elements.find(a)->delayMilliseconds, 2);
  EXPECT_EQ(two.elements.find(ElementRef(std::make_shared<ElementHandle>("c"))), nullptr);
  EXPECT_EQ(two.elements.find(ElementRef()), nullptr);
}

}  // namespace
}  // namespace jumplark
