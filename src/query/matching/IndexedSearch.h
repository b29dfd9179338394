#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "query/matching/ScoringQuery.h"
#include "query/matching/TextPattern.h"
#include "query/matching/TreeIndex.h"

namespace jumplark {

class JLElementTree;

/// Answers what the matcher's XPath expressions ask, from a tree's index: the same nodes in the same order, and their
/// scores, each text's computed once. One query, one thread.
class IndexedSearch {
 public:
  using Candidates = std::vector<const TreeIndex::Candidate*>;

  explicit IndexedSearch(const JLElementTree& tree);

  /// Those with the pattern in one of their texts.
  Candidates candidatesWithText(TextPattern& pattern) const;
  /// Those with the pattern in their role or subrole.
  Candidates candidatesWithRole(TextPattern& pattern) const;

  /// As JLElementNodeScorer scores them, one after the other.
  std::vector<float> scoresForQuery(const Candidates& candidates, const std::string& query) const;
  std::vector<float> scoresForRoleQuery(const Candidates& candidates, const std::string& roleText) const;

 private:
  /// The scores of texts against one query, by text number.
  class TextScores {
   public:
    TextScores(const TreeIndex& index, const std::string& query);
    float best(const TreeIndex::Candidate& candidate);

   private:
    std::optional<float> bestOf(const TreeIndex::Texts& texts);

    const TreeIndex& index_;
    ScoringQuery query_;
    std::vector<float> scores_;
  };

  float multiplier(const TreeIndex::Candidate& candidate) const;

  const JLElementTree& tree_;
  std::shared_ptr<const TreeIndex> index_;
};

}  // namespace jumplark
