#include "query/text/RegularExpression.h"

#include <gtest/gtest.h>

namespace jumplark {
namespace {

using Case = RegularExpression::Case;

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
