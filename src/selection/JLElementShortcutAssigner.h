#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "query/matching/JLElementMatch.h"

namespace jumplark {

/// Gives matches their keyboard labels of one to three letters. Any thread.
class JLElementShortcutAssigner {
 public:
  using Matches = std::vector<JLElementMatch>;

  /// The table of all 8,841 labels, in order of preference: 21 single letters; 420 pairs of different letters; 8,400
  /// triples whose first letter differs from the second and from the third (so AEE is a label and AEA is not). The
  /// keyboard layout plays no part.
  static const std::vector<std::string>& shortcutsForCurrentLayout();

  /// The first labels of the table, as many as there are matches.
  static std::vector<std::string> generateShortcutsForMatches(const Matches& matches);

  /// The labels by match, paired by position.
  static std::unordered_map<JLElementMatch, std::string, JLElementMatchHash> assignShortcutsToMatches(
      const Matches& matches);

  /// The matches from the best score down, those of equal score in their given order, the window's own buttons after
  /// all others, cut to the number of labels.
  static Matches orderedMatches(Matches matches);
  /// The same, but of those whose scores lie within 5 % of each other what cannot be used now comes last.
  static Matches orderedForUse(Matches matches);
};

}  // namespace jumplark
