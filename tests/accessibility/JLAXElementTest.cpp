#include "accessibility/JLAXElement.h"

#include "support/RecordedFixture.h"
#include "support/RecordedMetrics.h"

namespace jumplark::testing {
namespace {

const char* const kDesktop = R"({"screens":[[0,0,1440,900]], "elements":{
  "e":{"attributes":{"AXTitle":"T","AXNull":null,"AXNumber":7,"AXPosition":{"point":[1,2]},
       "AXBroken":{"error":-25204}},"parameterized":{"AXStringForRange":[]}},
  "slow":{"delay_ms":600,"attributes":{"AXTitle":"late"}}}})";

/// What is reported of an action; 0 when nothing is.
int64_t callsCountedIn(const std::function<void()>& action) {
  JLAXElement::logAndResetCallCount();
  const RecordedMetrics metrics;
  action();
  JLAXElement::logAndResetCallCount();
  const auto events = metrics.eventsNamed("ax_call_count");
  EXPECT_LE(events.size(), 1U);
  return events.empty() ? 0 : *events.front().at("call_count").integer();
}

JLAXElement wrapped(RecordedFixture& desktop, const char* id) {
  return JLAXElement(desktop->accessibility().element(id));
}

TEST(JLAXElement, visitsLongListsInBatchesAndAStopEndsOnlyTheBatch) {
  RecordedFixture desktop(kDesktop);
  desktop->accessibility().setAttribute("e", "AXChildren", AttributeValue::List(120, "child"));
  std::vector<size_t> indexes;
  wrapped(desktop, "e").enumerateAttributeUsingBlock("AXChildren", [&](const AttributeValue&, size_t index, bool&) {
    indexes.push_back(index);
  });
  ASSERT_EQ(indexes.size(), 120U);
  EXPECT_EQ(std::pair(indexes[50], indexes[119]), (std::pair<size_t, size_t>(0, 19)));

  int visits = 0;
  wrapped(desktop, "e").enumerateAttributeUsingBlock("AXChildren", [&](const AttributeValue&, size_t, bool& stop) {
    ++visits;
    stop = true;
  });
  EXPECT_EQ(visits, 3);
}

TEST(JLAXElement, asksForNamesOnceUnlessAskingFails) {
  RecordedFixture desktop(kDesktop);
  const JLAXElement element = wrapped(desktop, "e");
  const uint64_t before = desktop->accessibility().messageCount();
  EXPECT_TRUE(element.attributeExists("AXRole"));
  EXPECT_EQ(desktop->accessibility().messageCount(), before) << "a common attribute is not asked for";
  EXPECT_TRUE(element.attributeExists("AXTitle"));
  EXPECT_FALSE(element.attributeExists("AXValue"));
  EXPECT_EQ(desktop->accessibility().messageCount(), before + 1);
  EXPECT_TRUE(element.parameterizedAttributeExists("AXStringForRange"));
  EXPECT_FALSE(element.parameterizedAttributeExists("AXTitle"));
  EXPECT_EQ(desktop->accessibility().messageCount(), before + 2);

  desktop->accessibility().setError("e", AccessibilityError::failure);
  const JLAXElement failing = wrapped(desktop, "e");
  EXPECT_FALSE(failing.attributeExists("AXTitle"));
  EXPECT_FALSE(failing.parameterizedAttributeExists("AXStringForRange"));
  desktop->accessibility().setError("e", AccessibilityError::success);
  EXPECT_TRUE(failing.attributeExists("AXTitle"));
  EXPECT_TRUE(failing.parameterizedAttributeExists("AXStringForRange"));
}

TEST(JLAXElement, missingValuesAreNeutral) {
  RecordedFixture desktop(kDesktop);
  const JLAXElement element = wrapped(desktop, "e");
  EXPECT_EQ(element.getPointAttribute("AXPosition"), (Point{1, 2}));
  EXPECT_EQ(element.getPointAttribute("AXNowhere"), Point{});
  EXPECT_EQ(element.getSizeAttribute("AXTitle"), Size{}) << "a value of another kind";
  EXPECT_EQ(element.getRangeAttribute("AXRange"), (Range{9223372036854775807LL, -1}));
  EXPECT_EQ(element.getAttributeArrayCount("AXTitle"), 0) << "not a list";
  EXPECT_EQ(element.getAttributeArrayCount("AXNowhere"), -1);
  EXPECT_TRUE(element.getArrayAttributeStartIndexMaxLength("AXTitle", 0, 5).empty());
  EXPECT_EQ(element.getAttributeDefault("AXNull", "fallback"), AttributeValue("fallback"));
  EXPECT_EQ(element.getElementAttribute("AXTitle"), nullptr);
  EXPECT_FALSE(element.performAction("AXPress"));
  EXPECT_EQ(element.getMultipleAttributes({"AXTitle", "AXNowhere", "AXNumber", "AXBroken"}),
            (AttributeValue::List{"T", {}, 7, {}}));
  EXPECT_TRUE(wrapped(desktop, "slow").getAttribute("AXTitle").isNone()) << "longer than the time-out";
}

TEST(JLAXElement, countsCallsUnevenlyAndReportsThemOnce) {
  RecordedFixture desktop(kDesktop);
  using Error = AccessibilityError;
  const std::pair<AttributeValue, int64_t> cases[] = {
      {"text", 1}, {Point{1, 2}, 2}, {Error::noValue, 2}, {Error::attributeUnsupported, 2}, {Error::cannotComplete, 3}};
  for (const auto& [value, counts] : cases) {
    const auto unpack = [&value = value] {
      EXPECT_EQ(JLAXElement::unpackAXValue(value).isNone(), value.error() != nullptr);
    };
    EXPECT_EQ(callsCountedIn(unpack), counts) << value.description();
  }
  EXPECT_EQ(callsCountedIn([&] { wrapped(desktop, "e").getPointAttribute("AXPosition"); }), 1);
  EXPECT_EQ(callsCountedIn([] { JLAXElement::logAndResetCallCount(); }), 0) << "nothing is no report";
}

TEST(JLAXElement, namesErrorsAndCountsAllButTheSilentOnes) {
  std::istringstream names(
      "Failure|Illegal Argument|Invalid AXUIElementRef|Invalid AXObserverRef|Messaging timeout|Attribute unsupported|"
      "Action unsupported|Notification unsupported|Not implemented|Notification already registered|"
      "Notification not registered|Accessibility API not enabled||Parameterized attribute unsupported|"
      "Not enough precision|Unhandled AXError code -25215");
  int32_t code = -25200;
  for (std::string name; std::getline(names, name, '|'); --code) {
    const auto error = static_cast<AccessibilityError>(code);
    EXPECT_EQ(JLAXElement::nameOfError(error), name);
    const auto handle = [&] { EXPECT_EQ(JLAXElement::handleAXErrorFromFunctionAtLine(error, "f", 1), error); };
    EXPECT_EQ(callsCountedIn(handle), name.empty() ? 0 : 1) << name;
  }
  EXPECT_EQ(code, -25216) << "each was looked at";
}

}  // namespace
}  // namespace jumplark::testing
