#include "query/text/TextUtilities.h"

#include <gtest/gtest.h>

namespace jumplark {
namespace {

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
