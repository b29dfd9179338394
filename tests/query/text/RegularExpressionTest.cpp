#include "query/text/RegularExpression.h"

#include <gtest/gtest.h>

namespace jumplark {
namespace {

using Case = RegularExpression::Case;

TEST(RegularExpression, InvalidPatternsAreNone) {
  for (const char16_t* pattern : {u"(", u"[", u"\\", u"*", u"a{", u"(?<", u"\\p{nonsense}"}) {
    EXPECT_FALSE(RegularExpression::compile(pattern).has_value());
  }
  EXPECT_FALSE(RegularExpression::compile(std::u16string(10000, u'(')).has_value());
}

TEST(RegularExpression, FindsAnywhereAndReportsGroups) {
  auto expression = RegularExpression::compile(u"\\W(\\w+)as|x");
  ASSERT_TRUE(expression);
  EXPECT_EQ(expression->captureInFirstMatch(u"Save alias", 1), (Range{5, 3}));
  EXPECT_EQ(expression->captureInFirstMatch(u"x", 1), std::nullopt) << "the group took no part";
  EXPECT_FALSE(expression->matchesWithin(u" AS"));
  EXPECT_TRUE(RegularExpression::compile(u"ss", Case::insensitive)->matchesWithin(u"GROß"));
}

TEST(RegularExpression, RunawayPatternsEndWithoutAMatch) {
  auto expression = RegularExpression::compile(u"(a*)*b");
  ASSERT_TRUE(expression);
  const std::u16string text(5000, u'a');
  EXPECT_FALSE(expression->matchesWithin(text)) << "without a budget one match is limited";

  MatchBudget budget;
  expression->setBudget(&budget);
  int attempts = 0;
  while (budget.stepsLeft > 0 && attempts < 1000) {
    EXPECT_FALSE(expression->matchesWithin(text));
    ++attempts;
  }
  EXPECT_LE(attempts, MatchBudget::kStepsPerQuery / MatchBudget::kStepsPerMatch + 1) << "all of them together, too";
  EXPECT_TRUE(expression->matchesWithin(u"ab")) << "what ends soon still matches";
}

}  // namespace
}  // namespace jumplark
