#include "accessibility/JLAXElement.h"

#include <gtest/gtest.h>

#include "metrics/JLMetrics.h"
#include "support/RecordedFixture.h"
#include "support/RecordedMetrics.h"

namespace jumplark {
namespace {

using testing::RecordedFixture;
using testing::RecordedMetrics;

std::string childrenList(int count) {
  std::string list;
  for (int i = 0; i < count; ++i) {
    list += (i ? "," : "") + std::string(R"({"ref":"c"})");
  }
  return "[" + list + "]";
}

const char* const kDesktop = R"({"screens":[[0,0,1440,900]], "elements":{
  "e":{"attributes":{"AXTitle":"T","AXNull":null,"AXNumber":7,"AXPosition":{"point":[1,2]},
       "AXBroken":{"error":-25204}},"parameterized":{"AXStringForRange":[]}},
  "slow":{"delay_ms":600,"attributes":{"AXTitle":"late"}}}})";

int64_t callsCountedIn(const std::function<void()>& action) {
  JLAXElement::logAndResetCallCount();
  action();
  const RecordedMetrics metrics;
  JLAXElement::logAndResetCallCount();
  const auto events = metrics.eventsNamed("ax_call_count");
  return events.empty() ? 0 : *events.front().at("call_count").integer();
}

JLAXElement wrapped(RecordedFixture& desktop, const char* id) {
  return JLAXElement(desktop->accessibility().element(id));
}

TEST(JLAXElement, VisitsLongListsInBatchesAndAStopEndsOnlyTheBatch) {
  RecordedFixture desktop(R"({"elements":{"c":{"attributes":{}},"e":{"attributes":{"AXChildren":)" + childrenList(120) +
                          "}}}}");
  std::vector<size_t> indexes;
  wrapped(desktop, "e").enumerateAttributeUsingBlock("AXChildren", [&](const AttributeValue&, size_t index, bool&) {
    indexes.push_back(index);
  });
  ASSERT_EQ(indexes.size(), 120U);
  EXPECT_EQ(indexes[49], 49U);
  EXPECT_EQ(indexes[50], 0U);
  EXPECT_EQ(indexes[119], 19U);

  int visits = 0;
  wrapped(desktop, "e").enumerateAttributeUsingBlock("AXChildren", [&](const AttributeValue&, size_t, bool& stop) {
    ++visits;
    stop = true;
  });
  EXPECT_EQ(visits, 3);
}

TEST(JLAXElement, AsksForNamesOnceUnlessAskingFails) {
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

TEST(JLAXElement, MissingValuesAreNeutral) {
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
  const auto values = element.getMultipleAttributes({"AXTitle", "AXNowhere", "AXNumber", "AXBroken"});
  ASSERT_EQ(values.size(), 4U);
  EXPECT_EQ(values[0], AttributeValue("T"));
  EXPECT_TRUE(values[1].isNone());
  EXPECT_EQ(values[2], AttributeValue(7));
  EXPECT_TRUE(values[3].isNone());
  EXPECT_TRUE(wrapped(desktop, "slow").getAttribute("AXTitle").isNone()) << "longer than the time-out";
}

struct Counted {
  std::string name;
  AttributeValue value;
  int64_t counts;
  bool unpacksToNone;
};

TEST(JLAXElement, CountsCallsUnevenly) {
  const std::vector<Counted> cases = {
      {"plain", "text", 1, false},
      {"packed", Point{1, 2}, 2, false},
      {"quiet error", AccessibilityError::attributeUnsupported, 2, true},
      {"no value", AccessibilityError::noValue, 2, true},
      {"reported error", AccessibilityError::cannotComplete, 3, true},
  };
  for (const Counted& c : cases) {
    const auto unpack = [&] { EXPECT_EQ(JLAXElement::unpackAXValue(c.value).isNone(), c.unpacksToNone) << c.name; };
    EXPECT_EQ(callsCountedIn(unpack), c.counts) << c.name;
  }
}

TEST(JLAXElement, NamesErrorsAndCountsAllButTheSilentOnes) {
  const std::vector<std::pair<int, std::string>> cases = {
      {0, ""},
      {-25212, ""},
      {-25200, "Failure"},
      {-25204, "Messaging timeout"},
      {-25214, "Not enough precision"},
      {7, "Unhandled AXError code 7"},
  };
  for (const auto& [code, name] : cases) {
    const auto error = static_cast<AccessibilityError>(code);
    EXPECT_EQ(JLAXElement::nameOfError(error), name) << code;
    const auto handle = [&] { EXPECT_EQ(JLAXElement::handleAXErrorFromFunctionAtLine(error, "f", 1), error); };
    EXPECT_EQ(callsCountedIn(handle), name.empty() ? 0 : 1) << code;
  }
}

TEST(JLAXElement, ReportsTheCallCountOnceAndOnlyWhenThereIsOne) {
  RecordedFixture desktop(kDesktop);
  JLAXElement::logAndResetCallCount();
  const auto read = [&] { wrapped(desktop, "e").getPointAttribute("AXPosition"); };
  {
    const RecordedMetrics metrics;
    JLAXElement::logAndResetCallCount();
    EXPECT_TRUE(metrics.eventsNamed("ax_call_count").empty());
    read();
    JLAXElement::logAndResetCallCount();
    JLAXElement::logAndResetCallCount();
    EXPECT_EQ(metrics.eventsNamed("ax_call_count"), std::vector<MetricData>({{{"call_count", 1}}}));
  }
  read();
  JLAXElement::logAndResetCallCount();
  const RecordedMetrics later;
  JLAXElement::logAndResetCallCount();
  EXPECT_TRUE(later.eventsNamed("ax_call_count").empty()) << "what nobody collects is not kept either";
}

TEST(JLTrackSampledEvent, KeepsAnEventWhoseDrawIsBelowTheRate) {
  RecordedFixture desktop(kDesktop);
  constexpr uint32_t kHalf = 1U << 30;
  const struct {
    float rate;
    uint32_t draw;  ///< in 2^-31
    bool kept;
  } cases[] = {{0.0F, 0, false},
               {0.5F, kHalf - 1, true},
               {0.5F, kHalf, false},
               {0.5F, 2 * kHalf - 1, false},
               {1.0F, 2 * kHalf - 1, true}};
  for (const auto& example : cases) {
    const RecordedMetrics metrics;
    desktop->random().prepare({example.draw});
    JLTrackSampledEvent("event", std::nullopt, example.rate);
    EXPECT_EQ(metrics.eventsNamed("event").size(), example.kept ? 1U : 0U) << example.rate << " " << example.draw;
  }
}

}  // namespace
}  // namespace jumplark
