#include <gtest/gtest.h>

#include "platform/AttributeValue.h"
#include "platform/Geometry.h"

namespace jumplark {
namespace {

TEST(AttributeValue, isWrittenAsText) {
  const std::vector<std::pair<AttributeValue, std::string>> cases = {
      {AttributeValue(), ""},
      {true, "1"},
      {false, "0"},
      {42, "42"},
      {3.0, "3"},
      {0.1, "0.1"},
      {-0.5, "-0.5"},
      {1e300, "1e+300"},
      {"text", "text"},
      {int64_t{1} << 60, "1152921504606846976"},
      {Range{3, 4}, "{3, 4}"},
  };
  for (const auto& [value, text] : cases) {
    EXPECT_EQ(value.description(), text);
  }
}

TEST(AttributeValue, ofAnotherKindIsAnotherValue) {
  EXPECT_NE(AttributeValue(true), AttributeValue(1));
  EXPECT_NE(AttributeValue(1), AttributeValue(1.0));
  EXPECT_NE(AttributeValue(), AttributeValue(""));
}

TEST(ElementRef, equalTextsAreTheSameElementAndHashAsFNV1a) {
  const ElementRef a(std::make_shared<const ElementHandle>("a"));
  EXPECT_EQ(a, ElementRef(std::make_shared<const ElementHandle>("a")));
  EXPECT_NE(a, ElementRef(std::make_shared<const ElementHandle>("b")));
  // The published test values of FNV-1a, 64 bits, for "a" and "foobar".
  EXPECT_EQ(a.hash(), 0xaf63dc4c8601ec8cULL);
  EXPECT_EQ(fnv1a64("foobar"), 0x85944171f73967e8ULL);
}

TEST(Geometry, commonPartAndSharedAreaInBothOrders) {
  const Rect null = Rect::null();
  const std::tuple<const char*, Rect, Rect, Rect, bool> cases[] = {
      {"overlap", {0, 0, 10, 10}, {5, 5, 10, 10}, {5, 5, 5, 5}, true},
      {"inside", {0, 0, 10, 10}, {2, 3, 4, 5}, {2, 3, 4, 5}, true},
      {"apart", {0, 0, 10, 10}, {20, 0, 10, 10}, null, false},
      {"touching at an edge", {0, 0, 10, 10}, {10, 0, 10, 10}, null, false},
      {"empty inside", {0, 0, 10, 10}, {4, 4, 0, 0}, {4, 4, 0, 0}, false},
      {"empty on the minimum corner", {0, 0, 10, 10}, {0, 0, 0, 0}, {0, 0, 0, 0}, false},
      {"empty on the maximum edge", {0, 0, 10, 10}, {10, 5, 0, 0}, null, false},
      {"empty outside", {0, 0, 10, 10}, {40, 4, 0, 0}, null, false},
      {"flat inside", {0, 0, 10, 10}, {2, 4, 3, 0}, {2, 4, 3, 0}, false},
      {"infinite", {0, 0, 10, 10}, Rect::infinite(), {0, 0, 10, 10}, true},
      {"infinite and null", Rect::infinite(), null, null, false},
      {"infinite twice", Rect::infinite(), Rect::infinite(), Rect::infinite(), true},
  };
  for (const auto& [name, a, b, common, shareArea] : cases) {
    EXPECT_EQ(intersection(a, b), common) << name;
    EXPECT_EQ(intersection(b, a), common) << name;
    EXPECT_EQ(intersects(a, b), shareArea) << name;
    EXPECT_EQ(intersects(b, a), shareArea) << name;
  }
}

}  // namespace
}  // namespace jumplark
