#include "query/matching/IndexedSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "query/matching/JLElementNodeScorer.h"
#include "query/text/Utf.h"
#include "tree/JLElementTree.h"

namespace jumplark {

namespace {

constexpr float kUnknown = std::numeric_limits<float>::quiet_NaN();

}  // namespace

IndexedSearch::IndexedSearch(const JLElementTree& tree) : tree_(tree), index_(TreeIndex::of(tree)) {}

IndexedSearch::Candidates IndexedSearch::candidatesWithText(TextPattern& pattern) const {
  Candidates result;
  if (!pattern.isValid()) {
    return result;
  }
  const auto& folded = index_->foldedTexts();
  std::vector<uint8_t> found(folded.size(), 1);
  if (!pattern.matchesEverything()) {
    for (uint32_t number = 0; number < folded.size(); ++number) {
      const auto answer = pattern.matchesFolded(folded[number]);
      found[number] = answer.value_or(false) || (!answer && pattern.matches(index_->originalText(number))) ? 1 : 0;
    }
  }
  const auto& numbers = index_->textNumbers();
  for (const TreeIndex::Candidate& candidate : index_->candidates()) {
    if (std::any_of(numbers.begin() + candidate.searched.first, numbers.begin() + candidate.searched.end,
                    [&](uint32_t number) { return found[number] != 0; })) {
      result.push_back(&candidate);
    }
  }
  return result;
}

IndexedSearch::Candidates IndexedSearch::candidatesWithRole(TextPattern& pattern) const {
  Candidates result;
  if (!pattern.isValid()) {
    return result;
  }
  const auto& roles = index_->roles();
  std::vector<bool> found(roles.size());
  std::transform(roles.begin(), roles.end(), found.begin(), [&](const TreeIndex::Role& role) {
    return pattern.matches(role.role) || pattern.matches(role.subrole);
  });
  for (const TreeIndex::Candidate& candidate : index_->candidates()) {
    if (found[candidate.role]) {
      result.push_back(&candidate);
    }
  }
  return result;
}

std::vector<float> IndexedSearch::scoresForQuery(const Candidates& candidates, const std::string& query) const {
  TextScores typed(*index_, query);
  const std::string latinQuery = JLElementNodeScorer::latinQuery(query);
  std::optional<TextScores> latin;
  if (latinQuery != query) {
    latin.emplace(*index_, latinQuery);
  }
  std::vector<float> scores;
  scores.reserve(candidates.size());
  for (const TreeIndex::Candidate* candidate : candidates) {
    const float score = std::max(typed.best(*candidate), latin ? latin->best(*candidate) : 0.0F);
    scores.push_back(multiplier(*candidate) * score);
  }
  return scores;
}

std::vector<float> IndexedSearch::scoresForRoleQuery(const Candidates& candidates, const std::string& roleText) const {
  std::vector<float> byRole;
  if (roleText.empty()) {
    byRole.assign(index_->roles().size(), 1.0F);
  } else {
    ScoringQuery query(toUTF16(roleText));
    const auto score = [&](const std::u16string& name) {
      std::pmr::monotonic_buffer_resource memory;
      return static_cast<float>(query.score(PreparedText::prepare(name, memory)));
    };
    for (const TreeIndex::Role& role : index_->roles()) {
      byRole.push_back(std::max(score(role.role), score(role.subrole)));
    }
  }
  std::vector<float> scores;
  scores.reserve(candidates.size());
  for (const TreeIndex::Candidate* candidate : candidates) {
    scores.push_back(multiplier(*candidate) * byRole[candidate->role]);
  }
  return scores;
}

float IndexedSearch::multiplier(const TreeIndex::Candidate& candidate) const {
  // The index may have been made before the element under the pointer was marked.
  return tree_.focusedNode() == index_->focusedNode()
             ? candidate.multiplier
             : JLElementNodeScorer::multiplierForElementNodeFocusedNode(candidate.node, tree_.focusedNode());
}

IndexedSearch::TextScores::TextScores(const TreeIndex& index, const std::string& query)
    : index_(index), query_(toUTF16(query)), scores_(index.foldedTexts().size(), kUnknown) {}

float IndexedSearch::TextScores::best(const TreeIndex::Candidate& candidate) {
  if (query_.text().empty()) {
    return 0;
  }
  const auto own = bestOf(candidate.scored);
  if (!candidate.hasTitle) {
    return own.value_or(0);
  }
  const auto title = static_cast<double>(bestOf(candidate.title).value_or(0));
  const auto weighted = static_cast<float>(title * JLElementNodeScorer::kTitleWeight);
  return own ? std::max(*own, weighted) : weighted;
}

std::optional<float> IndexedSearch::TextScores::bestOf(const TreeIndex::Texts& texts) {
  std::optional<float> best;
  for (uint32_t i = texts.first; i < texts.end; ++i) {
    const uint32_t number = index_.textNumbers()[i];
    float& score = scores_[number];
    if (std::isnan(score)) {
      score = static_cast<float>(query_.score(index_.preparedText(number)));
    }
    best = best ? std::max(*best, score) : score;
  }
  return best;
}

}  // namespace jumplark
