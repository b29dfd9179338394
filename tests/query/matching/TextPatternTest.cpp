#include "query/matching/TextPattern.h"

#include <gtest/gtest.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include "query/matching/RandomTexts.h"

namespace jumplark {
namespace {

using testing::RandomTexts;

/// What the regular expression engine says; none for an invalid pattern.
std::optional<bool> engineSays(const std::u16string& pattern, const std::u16string& text) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::UnicodeString input(text.data(), static_cast<int32_t>(text.size()));
  icu::RegexMatcher matcher({pattern.data(), static_cast<int32_t>(pattern.size())}, input, UREGEX_CASE_INSENSITIVE,
                            status);
  if (U_FAILURE(status)) {
    return std::nullopt;
  }
  return matcher.find();
}

void expectAgreement(const std::u16string& pattern, const std::u16string& text) {
  MatchBudget budget;
  TextPattern compiled(pattern, TextPattern::Case::insensitive, budget);
  const auto expected = engineSays(pattern, text);
  ASSERT_EQ(compiled.isValid(), expected.has_value()) << toUTF8(pattern);
  if (expected) {
    ASSERT_EQ(compiled.matches(text), *expected) << toUTF8(pattern) << " in " << toUTF8(text);
  }
}

/// The units of a text as a pattern, with gaps of all kinds between some of them.
std::u16string patternOf(const std::u16string& text, RandomTexts& random) {
  std::u16string pattern;
  for (const char16_t unit : text) {
    static const std::vector<std::u16string> kBetween = {u".*?", u".*?", u"", u"", u".", u".*", u"|", u"?"};
    pattern += unit;
    const bool lead = unit >= 0xD800 && unit < 0xDC00;
    pattern += lead ? u"" : kBetween[random.below(random.below(3) == 0 ? kBetween.size() : 3)];
  }
  return pattern;
}

TEST(TextPattern, agreesWithTheEngineOnRandomPatterns) {
  RandomTexts random(4242);
  size_t matches = 0;
  for (int round = 0; round < 40000; ++round) {
    const std::u16string text = random.text(20);
    const std::u16string pattern = patternOf(random.queryFor(text), random);
    expectAgreement(pattern, text);
    if (HasFatalFailure()) {
      return;
    }
    matches += engineSays(pattern, text).value_or(false) ? 1 : 0;
  }
  EXPECT_GT(matches, 8000U);
  EXPECT_LT(matches, 32000U);
}

TEST(TextPattern, lettersTakeLinearTimeAndOtherPatternsABudget) {
  MatchBudget budget;
  const std::u16string text(100000, u'a');
  TextPattern letters(u"a.*?a.*?a.*?a.*?b|aaaab", TextPattern::Case::insensitive, budget);
  EXPECT_FALSE(letters.matches(text));
  EXPECT_TRUE(letters.matches(text + u"b"));
  EXPECT_EQ(budget.stepsLeft, MatchBudget::kStepsPerQuery) << "the engine was not asked";

  TextPattern runaway(u"(a*)*b", TextPattern::Case::insensitive, budget);
  for (int i = 0; i < 1000; ++i) {
    EXPECT_FALSE(runaway.matches(text));
  }
  EXPECT_TRUE(runaway.matches(u"ab")) << "what ends soon still matches";
  EXPECT_LE(budget.stepsLeft, 0) << "a thousand texts share what one query may cost";

  MatchBudget another;
  TextPattern folding(u"s.*?s.*?b|ssb", TextPattern::Case::insensitive, another);
  EXPECT_FALSE(folding.matches(std::u16string(20000, u'ß')));
  EXPECT_LT(another.stepsLeft, MatchBudget::kStepsPerQuery) << "the engine was asked, since folding changes the length";
}

}  // namespace
}  // namespace jumplark
