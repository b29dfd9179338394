#include "query/text/TextUtilities.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace jumplark {
namespace {

TEST(TextUtilities, CountInUTF16Units) {
  EXPECT_EQ(objectAtIndexedSubscript(u"ab", 1), u"b");
  EXPECT_EQ(objectAtIndexedSubscript(u"ab", 2), std::nullopt);
  EXPECT_THROW(objectAtIndexedSubscript(u"", 0), std::out_of_range);
  EXPECT_EQ(range(u"a😀"), (Range{0, 3}));
  EXPECT_EQ(characters(u"a😀"), (std::vector<std::u16string>{u"a", {0xD83D}, {0xDE00}}));
  EXPECT_EQ(scanWithPattern("FF80é", ".."), (std::vector<std::string>{"FF", "80"}));
  EXPECT_TRUE(scanWithPattern("FF", "(").empty());
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
