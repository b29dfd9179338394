#pragma once

#include <string>
#include <vector>

namespace jumplark {

/// How well one text fits a query; ScoringQuery says by which rules. Lengths are counted in UTF-16 units. For many
/// texts or many queries use ScoringQuery and PreparedText, which do each one's share of the work once. Any thread.
class JLTextScorer {
 public:
  /// The query's length for an equal text; less the worse it fits. Slightly below 0 for a text of 100 units or more
  /// that does not fit; 0 for a shorter one and for an empty query.
  static double scoreTextAgainstText(const std::string& text, const std::string& query);

  /// The pieces between separators and in front of each character that is neither a lowercase letter nor a digit, empty
  /// ones included: a separator in front of a capital leaves one. The split at the very start of a text leaves none.
  static std::vector<std::string> wordsForText(const std::string& text);

  static float scoreWordsListAgainstText(const std::vector<std::string>& words, const std::string& query);
  static double scoreTextForExactMatchAgainstText(const std::string& text, const std::string& query);
  static double applyLengthDifferencePenaltySourceTextQueryText(double score, const std::string& text,
                                                                const std::string& query);
  static bool textContainsDiacritics(const std::string& text);
};

}  // namespace jumplark
