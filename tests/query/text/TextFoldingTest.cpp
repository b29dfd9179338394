#include "query/text/TextFolding.h"

#include <gtest/gtest.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include "query/text/CharacterTraits.h"
#include "query/text/Utf.h"

namespace jumplark {
namespace {

constexpr UChar32 kCodePoints = 0x110000;

struct Case {
  std::string text;
  std::string expected;
};

TEST(TextFolding, RemovesMarksAndNothingElse) {
  const std::vector<Case> cases = {
      {"Save", "Save"},     {"Résumé", "Resume"}, {"e\u0301", "e"},       {"Ŝuka", "Suka"},     {"łßı æ", "łßı æ"},
      {"한글", "한글"},     {"й", "и"},           {"\u212B\u212A", "AK"}, {"\u0301\u0308", ""}, {"", ""},
      {"a\xFF", "a\uFFFD"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(foldDiacritics(c.text), c.expected) << c.text;
    EXPECT_EQ(textContainsDiacritics(toUTF16(c.text)), toUTF16(c.text) != toUTF16(c.expected)) << c.text;
  }
}

TEST(TextCleaning, ReplacesWhatADocumentCannotHold) {
  using namespace std::string_literals;
  const std::vector<Case> cases = {
      {"plain text, 24 bytes or more", "plain text, 24 bytes or more"},
      {"tab\tline\nreturn\r\x7F", "tab\tline\nreturn\r\x7F"},
      {"a\0b\x1F"s, "a\uFFFDb\uFFFD"},
      {"long enough for a fast step \x01 and on", "long enough for a fast step \uFFFD and on"},
      {"é\uFFFE\uFFFF中😀", "é\uFFFD\uFFFD中😀"},
      {"lone \xED\xA0\x80 surrogate", "lone \uFFFD surrogate"},
      {"cut \xE4\xB8", "cut \uFFFD"},
      {"\xC0\x80", "\uFFFD\uFFFD"},
      {"end\x80", "end\uFFFD"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(sanitizedForXML(c.text), c.expected);
  }
}

TEST(TextCleaning, KnowsTextsThatNeedNoVariants) {
  EXPECT_TRUE(isPlainASCIIText(""));
  EXPECT_TRUE(isPlainASCIIText("Save {as} 100% | of it"));
  for (const char* text : {"a~b", "a\tb", "Save…", "12345678\x1F", "é", "\x7F"}) {
    EXPECT_FALSE(isPlainASCIIText(text)) << text;
  }
}

TEST(CharacterTraits, AgreeWithTheRegularExpressionEngine) {
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

TEST(Lowercasing, LooksAtOneWordAlone) {
  EXPECT_EQ(lowercased(u"SAVE"), u"save");
  EXPECT_EQ(lowercased(u"ΟΔΟΣ"), u"οδος") << "a final sigma";
  EXPECT_EQ(lowercased(u"Σ"), u"σ");
  EXPECT_EQ(lowercased(u"İ"), u"i\u0307");
}

TEST(Utf, BrokenTextBecomesReplacementCharactersBothWays) {
  EXPECT_EQ(toUTF16("a\xFF\xE4\xB8"), u"a\uFFFD\uFFFD");
  const std::u16string broken = {u'a', 0xD83D, u'b', 0xDE00};
  EXPECT_EQ(toUTF8(broken), "a\uFFFDb\uFFFD");
  EXPECT_EQ(toUTF8(toUTF16("é中😀")), "é中😀");
}

}  // namespace
}  // namespace jumplark
