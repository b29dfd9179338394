#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "query/matching/LiteralSearch.h"
#include "query/matching/PreparedText.h"
#include "query/text/RegularExpression.h"

namespace jumplark {

/// A typed query in the forms that scoring compares, made once and scored against every text.
///
/// How well a text fits: its words are walked once, and each takes from the front of the query as many letters as agree
/// with its beginning. A letter counts 0.9^i in the i-th word, so early words count more; a query that is not used up
/// scores nothing. Walks from later words, from behind a word that took letters, compete with the first one. What no
/// walk finds, and any long text, is searched for the query as a whole: a find counts its length, less the deeper in a
/// word it begins. A long text loses a little against a short one.
///
/// One thread at a time.
class ScoringQuery {
 public:
  explicit ScoringQuery(std::u16string query);

  const std::u16string& text() const { return query_; }
  /// Limits what queries that are regular expressions by accident may cost, over all texts.
  MatchBudget& budget() { return budget_; }

  double score(const PreparedText& text);
  float scoreWords(const PreparedWords& words) const;
  double scoreExactMatch(const PreparedText& text);
  double applyLengthDifferencePenalty(double score, size_t textLength) const;
  /// Which units of `text.original` are the letters that its score is made of, in order; none of a text that scores
  /// nothing, nor where folding has moved them.
  std::vector<size_t> placesIn(const PreparedText& text);

 private:
  struct Found {
    size_t start = 0;
    size_t length = 0;  ///< 0: not found
  };
  struct Walk {
    float score = 0;
    uint64_t startsBeyond = 0;  ///< words behind one that took letters, a bit each
  };
  /// The walk that scores best, and the word that it begins with.
  std::pair<float, size_t> bestWalk(const PreparedWords& words) const;
  /// take(word, unit) is called for each letter that is taken, with its place in `words.lowered`.
  template <typename Take>
  Walk walkFrom(const PreparedWords& words, size_t firstWord, Take take) const;
  std::vector<size_t> placesOfBestWalk(const PreparedText& text) const;
  bool agrees(const PreparedWords& words, size_t unit, size_t letter) const;

  /// The first place of the query in the text.
  Found find(const PreparedText& text) const;
  /// How many word characters stand between a separator and the query.
  size_t lengthOfWordBefore(const PreparedText& text);
  size_t literalWordBefore(const PreparedText& text) const;

  std::u16string query_;
  bool containsDiacritics_;
  std::u16string lowered_;
  std::u16string bareLowered_;
  LiteralSearch folded_;  ///< for finding: case and, without diacritics in the query, diacritics folded
  uint64_t foldedLetters_;
  LiteralSearch literal_;  ///< for the word before: the query as it is
  bool isLiteral_;         ///< as a regular expression the query means itself
  MatchBudget budget_;
  bool wordBeforeCompiled_ = false;
  std::optional<RegularExpression> wordBefore_;
};

}  // namespace jumplark
