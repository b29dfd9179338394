#include <gtest/gtest.h>

#include "backends/recorded/RecordedPlatform.h"

namespace jumplark {
namespace {

using namespace std::chrono_literals;

constexpr const char* kDesktop = R"({
  "applications": [{"pid":1, "bundle_id":"front", "element":"front"}, {"pid":2, "bundle_id":"back", "element":"back"},
                   {"pid":3, "bundle_id":"com.apple.dock", "element":"dock"}],
  "hits": [[5,5,"inner"], [6,6,null], [7,7,"broken"], [8,8,"orphan"]],
  "elements": {
    "front": {"attributes": {"AXChildren":[{"ref":"window"}]}},
    "window": {"attributes": {"AXPosition":{"point":[100,100]}, "AXSize":{"size":[100,100]},
                              "AXChildren":[{"ref":"first"},{"ref":"second"},{"ref":"broken"}]}},
    "first": {"attributes": {"AXPosition":{"point":[110,110]}, "AXSize":{"size":[50,50]}, "AXChildren":[{"ref":"inner"}]}},
    "inner": {"attributes": {"AXPosition":{"point":[300,300]}, "AXSize":{"size":[10,10]}, "AXChildren":[{"ref":"front"}]}},
    "second": {"attributes": {"AXPosition":{"point":[120,120]}, "AXSize":{"size":[50,50]}}},
    "broken": {"attributes": {"AXPosition":{"point":[100,100]}, "AXSize":{"size":[100,100]}}, "error":-25200},
    "back": {"attributes": {"AXChildren":[{"ref":"wide"}]}},
    "wide": {"attributes": {"AXPosition":{"point":[0,0]}, "AXSize":{"size":[1000,1000]}}},
    "dock": {"attributes": {"AXFocusedWindow":{"ref":"panel"}, "AXChildren":null}},
    "panel": {"attributes": {"AXPosition":{"point":[0,900]}, "AXSize":{"size":[1000,20]}, "AXParent":{"ref":"dock"}}},
    "orphan": {"attributes": {"AXParent":{"ref":"wide"}, "AXTitle":"o", "AXHelp":null, "AXRows":[1,2,3],
                              "AXBad":{"error":-25204}},
               "parameterized": {
                 "Search": [{"when":{"visible":true, "limit":10}, "value":"both"}, {"when":{"visible":1}, "value":"one"},
                            {"when":{"visible":true}, "value":"visible"}, {"when":{"empty":null}, "value":null}],
                 "Text": [{"when":{"range":[0,5]}, "value":"hello"}, {"when":"key", "value":"by text"}],
                 "Any": [{"value":7}]},
               "actions": ["AXPress"]}
  }})";

class RecordedAccessibilityTest : public ::testing::Test {
 protected:
  RecordedAccessibility& ax() { return recorded_->accessibility(); }
  ElementRef ref(const std::string& id) { return ax().element(id); }
  Duration now() { return recorded_->queues().monotonicNow(); }
  std::string hit(float x, float y, const std::string& application) {
    const auto result =
        ax().copyElementAtPosition(application.empty() ? ax().systemWideElement() : ref(application), x, y);
    return result.ok() ? result.value.text() : result.error == AccessibilityError::noValue ? "nothing" : "error";
  }

  std::unique_ptr<RecordedPlatform> recorded_ = RecordedPlatform::fromText(kDesktop);
};

TEST_F(RecordedAccessibilityTest, aParameterizedAttributeAnswersTheFirstEntryWhoseConditionIsMet) {
  using D = AttributeValue::Dictionary;
  const struct {
    const char* name;
    AttributeValue parameter;
    AttributeValue value;  ///< none: no value
  } cases[] = {
      {"Search", D{{"visible", true}, {"limit", 10}}, "both"},
      {"Search", D{{"visible", true}, {"limit", 10.0}, {"more", "x"}}, "both"},
      {"Search", D{{"visible", true}, {"limit", 11}}, "visible"},
      {"Search", D{{"visible", true}}, "visible"},
      {"Search", D{{"visible", 1}}, "one"},
      {"Search", D{{"visible", 1.0}}, "one"},
      {"Search", D{{"visible", "true"}}, {}},
      {"Search", D{{"empty", AttributeValue()}}, {}},
      {"Search", D{}, {}},
      {"Search", true, {}},
      {"Text", Range{0, 5}, "hello"},
      {"Text", Range{0, 6}, {}},
      {"Text", "key", "by text"},
      {"Any", Range{1, 2}, 7},
      {"Any", AttributeValue(), 7},
  };
  for (const auto& [name, parameter, value] : cases) {
    const auto result = ax().copyParameterizedAttributeValue(ref("orphan"), name, parameter);
    EXPECT_EQ(result.error, value.isNone() ? AccessibilityError::noValue : AccessibilityError::success)
        << name << " " << parameter.description();
    EXPECT_EQ(result.value, value) << name << " " << parameter.description();
  }
  EXPECT_EQ(ax().copyParameterizedAttributeValue(ref("orphan"), "Other", true).error,
            AccessibilityError::parameterizedAttributeUnsupported);
}

TEST_F(RecordedAccessibilityTest, aHitTestFindsTheLastElementInDepthFirstOrder) {
  const struct {
    float x, y;
    const char* found;
    const char* why;
    const char* application = "";  ///< that is asked, without one the whole screen
  } cases[] = {
      {105, 105, "window", "elements with an error are not hit"},
      {115, 115, "first", "a child lies over its parent"},
      {130, 130, "second", "a later sibling lies over an earlier one"},
      {305, 305, "inner", "whatever its parent's rectangle"},
      {100, 100, "window", "the minimum edges belong to a rectangle"},
      {200, 150, "wide", "the maximum edges do not; the next application is asked"},
      {500, 910, "panel", "the dock comes first, and its focused window stands in for missing children"},
      {2000, 2000, "nothing", "nothing is there"},
      {5, 5, "inner", "a recorded hit goes before all"},
      {6, 6, "nothing", "also one that found nothing"},
      {7, 7, "wide", "but not one on an element that fails"},
      {500, 910, "wide", "only this application", "back"},
      {500, 910, "nothing", "only this application", "front"},
      {5, 5, "inner", "a recorded hit in this application", "front"},
      {5, 5, "wide", "a recorded hit in another", "back"},
      {8, 8, "orphan", "a recorded hit, by its parent", "back"},
      {8, 8, "nothing", "which is another's", "front"},
  };
  for (const auto& [x, y, found, why, application] : cases) {
    EXPECT_EQ(hit(x, y, application), found) << why;
  }
}

TEST_F(RecordedAccessibilityTest, findsTheProcessOfAnElement) {
  EXPECT_EQ(ax().processIdentifier(ref("panel")).value, 3);
  EXPECT_EQ(ax().processIdentifier(ref("inner")).value, 1) << "by the tree, without AXParent";
  EXPECT_EQ(ax().processIdentifier(ref("orphan")).value, 2) << "by AXParent, outside of the tree";
  ax().setAttribute("loop", "AXParent", ref("orphan"));
  ax().setAttribute("orphan", "AXParent", ref("loop"));
  EXPECT_EQ(ax().processIdentifier(ref("loop")).error, AccessibilityError::failure);
  EXPECT_EQ(ax().processIdentifier(ax().createApplication(77)).value, 77);
}

}  // namespace
}  // namespace jumplark
