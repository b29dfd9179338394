#include "query/text/TextUtilities.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace jumplark {
namespace {

using Texts = std::vector<std::string>;

TEST(TextUtilities, CharactersAreUTF16Units) {
  EXPECT_EQ(characters(u""), std::vector<std::u16string>{});
  EXPECT_EQ(characters(u"ab"), (std::vector<std::u16string>{u"a", u"b"}));
  EXPECT_EQ(characters(u"😀").size(), 2U);
  EXPECT_EQ(range(u"a😀"), (Range{0, 3}));
  EXPECT_EQ(objectAtIndexedSubscript(u"ab", 1), u"b");
  EXPECT_EQ(objectAtIndexedSubscript(u"ab", 2), std::nullopt);
  EXPECT_THROW(objectAtIndexedSubscript(u"", 0), std::out_of_range);
}

TEST(TextUtilities, ScanningGivesEveryMatch) {
  EXPECT_EQ(scanWithPattern("FF8000", ".."), (Texts{"FF", "80", "00"}));
  EXPECT_EQ(scanWithPattern("FF800", ".."), (Texts{"FF", "80"}));
  EXPECT_EQ(scanWithPattern("a1b22é3", "[0-9]+|é"), (Texts{"1", "22", "é", "3"}));
  EXPECT_EQ(scanWithPattern("ab", "x*"), (Texts{"", "", ""}));
  EXPECT_EQ(scanWithPattern("ab", "("), Texts{});
}

TEST(Base64, IsThatOfTheUTF8Bytes) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"é€😀>?", "w6nigqzwn5iAPj8="},
  };
  for (const auto& [text, base64] : cases) {
    EXPECT_EQ(base64String(text), base64);
    EXPECT_EQ(stringFromBase64String(base64), text);
  }
}

TEST(Base64, RefusesWhatIsNone) {
  for (const char* text : {"Zg", "Zg=", "Z===", "Zm9v!A==", "Zg==Zg==", "=Zg=", "/w==", "Z g="}) {
    EXPECT_EQ(stringFromBase64String(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace jumplark
