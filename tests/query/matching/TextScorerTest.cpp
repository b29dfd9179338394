#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "query/matching/JLTextScorer.h"
#include "query/matching/RandomTexts.h"
#include "query/matching/ScorerReference.h"
#include "query/text/Utf.h"

namespace jumplark {
namespace {

using Words = std::vector<std::string>;
using testing::RandomTexts;

constexpr double kTolerance = 1e-6;

struct Case {
  std::string text;
  std::string query;
  double score;
};

TEST(TextScore, FollowsTheRules) {
  const std::string longText(95, 'x');
  const std::vector<Case> cases = {
      {"Save", "", 0},
      {"Save", "Save", 4.0},
      {"save", "sav", 2.999},
      {"Save", "save", 4.0},
      {"open", "openx", 0},
      {"ope", "open", 0},
      {"save as", "as", 1.8 - 0.005},
      {"Save As", "as", 0.81 * 2 - 0.005},    // the empty word in front of a capital counts
      {"save as", "sa as", 2 + 1.8 - 0.002},  // a space is satisfied by the end of what a word gives
      {"save", "save ", 0},
      {"cafe", "café", 0},
      {"café", "cafe", 4.0},
      {"cafés", "CAFE", 3.999},
      {"resave", "save", 4 - 0.002},           // found, and no separator in front
      {"a resave", "save", 0.81 * 4 - 0.004},  // two letters deep in a word
      {"a resave", "SAVE", 4 - 0.004},         // the word before is looked for with the case as typed
      {longText + " save", "save", 4 - 0.096},
      {longText + " save", "none", -0.096},  // a long text is not clamped
      {longText + longText, "x", 1 - 0.189},
      {"", "a", 0},
  };
  for (const Case& c : cases) {
    EXPECT_NEAR(JLTextScorer::scoreTextAgainstText(c.text, c.query), c.score, kTolerance) << c.text << " / " << c.query;
  }
}

TEST(TextScore, PenaltyWrapsAroundForAQueryLongerThanTheText) {
  EXPECT_NEAR(JLTextScorer::applyLengthDifferencePenaltySourceTextQueryText(3, "save", "sav"), 2.999, kTolerance);
  EXPECT_EQ(JLTextScorer::applyLengthDifferencePenaltySourceTextQueryText(3, "sav", "save"), 2.0);
  EXPECT_EQ(JLTextScorer::applyLengthDifferencePenaltySourceTextQueryText(3, std::string(2000, 'a'), "a"), 2.0);
  EXPECT_EQ(JLTextScorer::applyLengthDifferencePenaltySourceTextQueryText(3, "é", "a"), 3.0) << "in UTF-16 units";
}

TEST(TextScore, WordsBeyondThe51stScoreNothing) {
  Words words(60, "x");
  words[50] = "last";
  words[51] = "never";
  EXPECT_NEAR(JLTextScorer::scoreWordsListAgainstText(words, "last"), 4 * std::pow(0.9, 50), kTolerance);
  EXPECT_EQ(JLTextScorer::scoreWordsListAgainstText(words, "never"), 0);
  EXPECT_EQ(JLTextScorer::scoreWordsListAgainstText({}, "a"), 0);
}

TEST(TextScore, AgreesWithTheRulesAsStatedBitByBit) {
  RandomTexts random(20240229);
  size_t hits = 0;
  for (int round = 0; round < 6000; ++round) {
    const std::u16string text = random.text(round % 10 == 0 ? 140 : 24);
    const auto words = reference::wordsForText(text);
    ASSERT_TRUE(std::ranges::equal(JLTextScorer::wordsForText(toUTF8(text)), words, {}, {}, &toUTF8)) << toUTF8(text);
    if (text.size() < 100 && words.size() > 14) {
      continue;  // the stated recursion doubles with each word
    }
    const std::u16string query = random.queryFor(text);
    const double score = JLTextScorer::scoreTextAgainstText(toUTF8(text), toUTF8(query));
    ASSERT_EQ(score, reference::scoreText(text, query)) << toUTF8(text) << " / " << toUTF8(query);
    ASSERT_EQ(JLTextScorer::scoreTextForExactMatchAgainstText(toUTF8(text), toUTF8(query)),
              reference::scoreExactMatch(text, query))
        << toUTF8(text) << " / " << toUTF8(query);
    hits += score > 0 ? 1 : 0;
  }
  EXPECT_GT(hits, 1200U) << "the texts and queries have to have something in common";
}

TEST(TextScore, IsBoundedForTextsAndQueriesThatInviteBacktracking) {
  std::string oneLetterWords;
  for (int i = 0; i < 50; ++i) {
    oneLetterWords += "a ";
  }
  oneLetterWords.resize(99);
  EXPECT_NEAR(JLTextScorer::scoreTextAgainstText(oneLetterWords, "aa"), 1.9 - 0.097, kTolerance);
  EXPECT_EQ(JLTextScorer::scoreTextAgainstText(oneLetterWords, std::string(10000, 'a')), 0);
  const std::string longText(100000, 'a');
  EXPECT_EQ(JLTextScorer::scoreTextAgainstText(longText, std::string(10000, 'a')), 9999.0);
  EXPECT_EQ(JLTextScorer::scoreTextAgainstText(longText, std::string(9999, 'a') + "b"), -1.0);
  EXPECT_EQ(JLTextScorer::scoreTextAgainstText(longText + "(a*)*b", "(a*)*b"), 5.0) << "runs away: no word before";
}

}  // namespace
}  // namespace jumplark
