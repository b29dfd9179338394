#include <gtest/gtest.h>

#include "platform/AttributeValue.h"
#include "platform/Geometry.h"
#include "platform/Utf8.h"

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

TEST(Utf8, replacesEachBrokenCharacterOnce) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {"", ""},
      {"plain", "plain"},
      {"é€😀", "é€😀"},
      {"a\xFFz", "a\uFFFDz"},
      {"\xC3", "\uFFFD"},
      {"\xE2\x82z", "\uFFFDz"},
      {"\xF0\x9F\x98", "\uFFFD"},
      {"\x82\x82", "\uFFFD\uFFFD"},
      {"\xC0\x80", "\uFFFD\uFFFD"},
      {"\xE0\x9F\xBF", "\uFFFD\uFFFD\uFFFD"},
      {"\xED\x9F\xBF\xEE\x80\x80", "\uD7FF\uE000"},
      {"lone \xED\xA0\x80 surrogate", "lone \uFFFD surrogate"},
      {"\xF4\x8F\xBF\xBF", "\U0010FFFF"},
      {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xF0\x8F\xBF\xBF", "\uFFFD\uFFFD\uFFFD\uFFFD"},
  };
  for (const auto& [bytes, clean] : cases) {
    EXPECT_EQ(wellFormedUtf8(bytes), clean) << ::testing::PrintToString(bytes);
  }
}

TEST(Utf8, cutsBetweenCharacters) {
  EXPECT_EQ(wellFormedUtf8("aé€z", 6), "aé€");
  EXPECT_EQ(wellFormedUtf8("aé€z", 5), "aé");
  EXPECT_EQ(wellFormedUtf8("ab\xFFz", 4), "ab");
}

TEST(Utf8, countsAndCutsByCharacters) {
  const std::string text = "aé€😀z";
  EXPECT_EQ(codePointCount(text), 5);
  EXPECT_EQ(utf16Length(text), 6);
  EXPECT_EQ(codePointsInUnits(text, 4), 3) << "half a character does not count";
  EXPECT_EQ(prefixOfUnits(text, 4), "aé€");
  EXPECT_EQ(prefixOfUnits(text, 5), "aé€😀");
  const std::tuple<int64_t, int64_t, int64_t, const char*> parts[] = {
      {0, 1, 3, "é€"}, {100, 103, 105, "😀z"}, {0, 4, 99, "z"}, {0, 7, 9, ""}, {0, 2, 2, ""}};
  for (const auto& [base, start, end, part] : parts) {
    EXPECT_EQ(codePoints(text, base, start, end), part) << base << ' ' << start << ' ' << end;
  }
}

TEST(Utf8, takesForBlankWhatNobodySees) {
  for (const char* blank : {"", " \t\r\n\v\f", "\u00A0", "\u2003\u3000\u202F"}) {
    EXPECT_TRUE(isBlank(blank)) << ::testing::PrintToString(blank);
  }
  for (const char* seen : {"x", " . ", "\u00A0\u00A1", "\uFFFC", "\xC2"}) {
    EXPECT_FALSE(isBlank(seen)) << ::testing::PrintToString(seen);
  }
}

}  // namespace
}  // namespace jumplark
