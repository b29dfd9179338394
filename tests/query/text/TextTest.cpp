#include <gtest/gtest.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <future>
#include <stdexcept>

#include "query/text/CharacterTraits.h"
#include "query/text/JLTextUtils.h"
#include "query/text/TextFolding.h"
#include "query/text/TextUtilities.h"
#include "query/text/Utf.h"

namespace jumplark {
namespace {

using Words = std::vector<std::string>;

TEST(LatinWords, areTheWordsOfATextInLatinLetters) {
  const std::vector<std::pair<std::string, Words>> cases = {
      {"", {}},
      {"…", {}},
      {"Save As…", {"Save", "As"}},
      {"it's 3.5 a_b", {"it's", "3.5", "a_b"}},
      {"Résumé", {"Résumé"}},
      {"Щука и Ёж", {"Ŝuka", "i", "Ëž"}},
      {"中文 输入", {"zhōng wén", "shū rù"}},
      {"Αρχείο", {"Archeío"}},
      {"ok 😀", {"ok"}},
      {"a~b", {"a~b"}},  // a tilde joins, between words only
      {"a~b~1", {"a~b~1"}},
      {"a~~b", {"a", "b"}},
      {"~a~", {"a"}},
      {"a ~b", {"a", "b"}},
  };
  for (const auto& [text, words] : cases) {
    EXPECT_EQ(JLTextUtils::latinWordsForText(text), words) << text;
  }
}

TEST(LatinWords, mayBeAskedForOnSeveralThreads) {
  std::vector<std::future<Words>> results;
  for (int thread = 0; thread < 4; ++thread) {
    results.push_back(std::async(std::launch::async, [] {
      Words words;
      for (int i = 0; i < 200; ++i) {
        words = JLTextUtils::latinWordsForText("Файл " + std::to_string(i % 7) + " 漢字");
      }
      return words;
    }));
  }
  for (auto& result : results) {
    EXPECT_EQ(result.get(), (Words{"Fajl", "3", "hàn zì"}));
  }
}

constexpr UChar32 kCodePoints = 0x110000;

TEST(TextFolding, removesMarksAndNothingElse) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"Save", "Save"},     {"Résumé", "Resume"}, {"e\u0301", "e"},       {"Ŝuka", "Suka"},     {"łßı æ", "łßı æ"},
      {"한글", "한글"},     {"й", "и"},           {"\u212B\u212A", "AK"}, {"\u0301\u0308", ""}, {"", ""},
      {"a\xFF", "a\uFFFD"},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(foldDiacritics(text), expected) << text;
    EXPECT_EQ(textContainsDiacritics(toUTF16(text)), toUTF16(text) != toUTF16(expected)) << text;
  }
}

TEST(TextCleaning, replacesWhatADocumentCannotHold) {
  using namespace std::string_literals;
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"plain text, 24 bytes or more", "plain text, 24 bytes or more"},
      {"tab\tline\nreturn\r\x7F", "tab\tline\nreturn\r\x7F"},
      {"a\0b\x1F"s, "a\uFFFDb\uFFFD"},
      {"long enough for a fast step \x1F and on", "long enough for a fast step \uFFFD and on"},
      {"\uD7FF\uE000\uFFFD\U00010000", "\uD7FF\uE000\uFFFD\U00010000"},
      {"é\uFFFE\uFFFF中😀", "é\uFFFD\uFFFD中😀"},
      {"lone \xED\xA0\x80 surrogate", "lone \uFFFD surrogate"},
      {"end\x80", "end\uFFFD"},
  };
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(sanitizedForXML(text), expected);
  }
}

TEST(TextCleaning, knowsTextsThatNeedNoVariants) {
  EXPECT_TRUE(isPlainASCIIText(""));
  EXPECT_TRUE(isPlainASCIIText("Save {as} 100% | of it"));
  for (const char* text : {"a~b", "a\tb", "Save…", "1234567\x1F", "12345678\x1F", "é", "\x7F"}) {
    EXPECT_FALSE(isPlainASCIIText(text)) << text;
  }
}

TEST(CharacterTraits, agreeWithTheRegularExpressionEngine) {
  UErrorCode status = U_ZERO_ERROR;
  icu::RegexMatcher word("\\w", 0, status);
  icu::RegexMatcher start("[^\\p{Ll}0-9]", 0, status);
  icu::RegexMatcher notLineEnd(".", 0, status);
  ASSERT_TRUE(U_SUCCESS(status));
  const CharacterTraits& traits = CharacterTraits::instance();
  for (UChar32 c = 0; c < kCodePoints; ++c) {
    const icu::UnicodeString text(c);
    word.reset(text);
    start.reset(text);
    notLineEnd.reset(text);
    const auto character = static_cast<char32_t>(c);
    ASSERT_EQ(traits.isWordCharacter(character), word.find()) << c;
    ASSERT_EQ(traits.startsWord(character), start.find()) << c;
    ASSERT_EQ(CharacterTraits::isLineEnd(character), !notLineEnd.find()) << c;
  }
}

TEST(Lowercasing, looksAtOneWordAlone) {
  EXPECT_EQ(lowercased(u"SAVE"), u"save");
  EXPECT_EQ(lowercased(u"ΟΔΟΣ"), u"οδος") << "a final sigma";
  EXPECT_EQ(lowercased(u"Σ"), u"σ");
  EXPECT_EQ(lowercased(u"İ"), u"i\u0307");
}

TEST(Utf, brokenTextBecomesReplacementCharactersBothWays) {
  EXPECT_EQ(toUTF16("a\xFF\xE4\xB8"), u"a\uFFFD\uFFFD");
  const std::u16string broken = {u'a', 0xD83D, u'b', 0xDE00};
  EXPECT_EQ(toUTF8(broken), "a\uFFFDb\uFFFD");
  EXPECT_EQ(toUTF8(toUTF16("é中😀")), "é中😀");
}

TEST(TextUtilities, countInUTF16Units) {
  EXPECT_EQ(objectAtIndexedSubscript(u"ab", 1), u"b");
  EXPECT_EQ(objectAtIndexedSubscript(u"ab", 2), std::nullopt);
  EXPECT_THROW(objectAtIndexedSubscript(u"", 0), std::out_of_range);
  EXPECT_EQ(range(u"a😀"), (Range{0, 3}));
  EXPECT_EQ(characters(u"a😀"), (std::vector<std::u16string>{u"a", {0xD83D}, {0xDE00}}));
  EXPECT_EQ(scanWithPattern("FF80é", ".."), (std::vector<std::string>{"FF", "80"}));
  EXPECT_TRUE(scanWithPattern("FF", "(").empty());
}

TEST(Base64, isThatOfTheUTF8Bytes) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"é€😀>?", "w6nigqzwn5iAPj8="},
  };
  for (const auto& [text, base64] : cases) {
    EXPECT_EQ(base64String(text), base64);
    EXPECT_EQ(stringFromBase64String(base64), text);
  }
  for (const char* text : {"Zg", "Zg=", "Z===", "Zm9v!A==", "Zg==Zg==", "=Zg=", "/w==", "Z g="}) {
    EXPECT_EQ(stringFromBase64String(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace jumplark
