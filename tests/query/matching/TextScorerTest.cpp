#include <gtest/gtest.h>

#include <cmath>

#include "query/matching/JLTextScorer.h"

namespace jumplark {
namespace {

using Words = std::vector<std::string>;

constexpr double kTolerance = 1e-6;

TEST(TextScore, followsTheRules) {
  const std::string longText(95, 'x');
  const std::tuple<std::string, std::string, double> cases[] = {
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
      // Letters that fold oddly, marks, other scripts and line ends, each here because it tells two rules apart.
      {"\u2028SbT\u212A'2k😀b.a\u0301ǅ ~中.ΣAжb*a\n ~\n~(ebb\u0301bb😀жTS\u2028Σtßbİ 😀1aЖT.ab中éEStσbkT1bSb\u017Fa",
       "😀b.", 3.17099982},
      {"ßT\nEaA* ǅe\u0301tσ", "* ǅe", 4.991},
      {"한aE 1EkeEbTaSSsaA a \uFB01EaSǅ aİe1aT1bbeTkt😀bbEAtekEt😀ETk1 abTAS'\u0301tEaİS1aTSb ", "TkaabE", 0.567851543},
      {"._ İжe", " İжe", 3.5979999},
      {"é AaAaa1a", "aAaa1", 4.49599988},
      {"btaSE", "baSE", 0},
      {"A1teA tsTbebETkb  taASSAAASaaaeSS", " taASS", 2.09292931},
      {"b A b", " A b", 3.999},
      {"A", "a", 1},
      {"bSİE", "e\u03011 ", 0},
      {"жAAa-", "жAa-", 0},
      {"e\u0301ab  s", "eab ", 4.997},
      {"bettae\uFB01eEs σEAbTt sЖЖ1batS1ak1b ÉbsEA.", "bsea.", 4.967},
      {"ASTkς𝒜aTaaǅb~𝒜ÉTTSΣ'T\nb bes\uFB01~ t'\u2028S'中ж1e한ß1a-Sς-Tt𝒜\u0301-ς1.'bσaA (-b(bİtAǅe\u0301 жTı😀ı_ЖbbbAbt "
       "'ßsaEÉ_aé\u017F-b",
       "1", 0.42944091},
      {"kEEsETeaEb𝒜aatt1Ebe1ksbt11aSSTaTk1bTaabbsSb_aSb bt1b1aaaAe1se\u0301Ss TAaTeb kab bbbtTA 'aAtAbǅat stbeabA한 "
       "beA be",
       "t", 0.791999973},
  };
  for (const auto& [text, query, score] : cases) {
    EXPECT_NEAR(JLTextScorer::scoreTextAgainstText(text, query), score, kTolerance) << text << " / " << query;
  }
}

TEST(TextScore, penaltyWrapsAroundForAQueryLongerThanTheText) {
  EXPECT_NEAR(JLTextScorer::applyLengthDifferencePenaltySourceTextQueryText(3, "save", "sav"), 2.999, kTolerance);
  EXPECT_EQ(JLTextScorer::applyLengthDifferencePenaltySourceTextQueryText(3, "sav", "save"), 2.0);
  EXPECT_EQ(JLTextScorer::applyLengthDifferencePenaltySourceTextQueryText(3, std::string(2000, 'a'), "a"), 2.0);
  EXPECT_EQ(JLTextScorer::applyLengthDifferencePenaltySourceTextQueryText(3, "é", "a"), 3.0) << "in UTF-16 units";
}

TEST(TextScore, wordsBeyondThe51stScoreNothing) {
  Words words(60, "x");
  words[50] = "last";
  words[51] = "never";
  EXPECT_NEAR(JLTextScorer::scoreWordsListAgainstText(words, "last"), 4 * std::pow(0.9, 50), kTolerance);
  EXPECT_EQ(JLTextScorer::scoreWordsListAgainstText(words, "never"), 0);
  EXPECT_EQ(JLTextScorer::scoreWordsListAgainstText({}, "a"), 0);
}

TEST(TextScore, isBoundedForTextsAndQueriesThatInviteBacktracking) {
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
