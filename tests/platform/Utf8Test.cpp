#include "platform/Utf8.h"

#include <gtest/gtest.h>

namespace jumplark {
namespace {

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
