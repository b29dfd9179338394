#include "query/matching/JLElementNodeScorer.h"

#include <algorithm>
#include <cmath>
#include <memory_resource>

#include "query/matching/PreparedText.h"
#include "query/matching/ScoringQuery.h"
#include "query/text/JLTextUtils.h"
#include "query/text/Utf.h"
#include "tree/JLElementNode.h"

namespace jumplark {

namespace {

/// How far apart two stretches of one axis are; 0 when they meet or begin at the same place.
double gap(double start, double length, double otherStart, double otherLength) {
  if (start == otherStart) {
    return 0;
  }
  const double distance = start < otherStart ? otherStart - (start + length) : start - (otherStart + otherLength);
  return std::max(0.0, distance);
}

float scoreTexts(const JLElementNode& node, ScoringQuery& query) {
  float best = 0;
  bool any = false;
  for (const auto& [key, text] : node.textDictionary()) {
    std::u16string units = toUTF16(text);
    units.resize(std::min(units.size(), JLElementNodeScorer::kScoredUnits));
    std::pmr::monotonic_buffer_resource memory;
    const auto score = static_cast<float>(query.score(PreparedText::prepare(units, memory)));
    best = any ? std::max(best, score) : score;
    any = true;
  }
  return best;
}

float scoreRoleName(const std::string& name, ScoringQuery& query) {
  const std::u16string units = toUTF16(name);
  std::pmr::monotonic_buffer_resource memory;
  return static_cast<float>(query.score(PreparedText::prepare(units, memory)));
}

}  // namespace

float JLElementNodeScorer::scoreElementNodeForQueryWithFocusedNode(const JLElementNode* node, const std::string& query,
                                                                   const JLElementNode* focusedNode) {
  float score = scoreElementNodeForQueryIsTitleElement(node, query, false);
  const std::string latin = latinQuery(query);
  const float latinScore = latin != query ? scoreElementNodeForQueryIsTitleElement(node, latin, false) : 0;
  score = std::max(score, latinScore);
  return multiplierForElementNodeFocusedNode(node, focusedNode) * score;
}

float JLElementNodeScorer::scoreElementNodeForQueryIsTitleElement(const JLElementNode* node, const std::string& query,
                                                                  bool isTitleElement) {
  if (node == nullptr || query.empty()) {
    return 0;
  }
  ScoringQuery scoring(toUTF16(query));
  const bool hasTexts = node->textNode() != nullptr && node->textNode()->properties != nullptr;
  const float own = scoreTexts(*node, scoring);
  if (isTitleElement || !node->hasTitleElement()) {
    return own;
  }
  const float title = scoreElementNodeForQueryIsTitleElement(node->titleNode(), query, true);
  const auto weighted = static_cast<float>(static_cast<double>(title) * kTitleWeight);
  return hasTexts ? std::max(own, weighted) : weighted;
}

float JLElementNodeScorer::scoreElementNodeForRoleQueryWithFocusedNode(const JLElementNode* node,
                                                                       const std::string& roleText,
                                                                       const JLElementNode* focusedNode) {
  if (node == nullptr) {
    return 0;
  }
  const float multiplier = multiplierForElementNodeFocusedNode(node, focusedNode);
  if (roleText.empty()) {
    return multiplier;
  }
  ScoringQuery scoring(toUTF16(roleText));
  const float role = scoreRoleName(node->attribute("Role").value_or(""), scoring);
  const float subrole = scoreRoleName(node->attribute("Subrole").value_or(""), scoring);
  return multiplier * std::max(role, subrole);
}

float JLElementNodeScorer::multiplierForElementNodeFocusedNode(const JLElementNode* node,
                                                               const JLElementNode* focusedNode) {
  return multiplierForRects(node != nullptr ? node->visibleBounds() : Rect{},
                            focusedNode != nullptr ? focusedNode->visibleBounds() : Rect{});
}

float JLElementNodeScorer::multiplierForRects(const Rect& node, const Rect& focused) {
  double dx = 0;
  double dy = 0;
  if (!intersects(node, focused)) {
    dx = gap(node.x, node.width, focused.x, focused.width);
    dy = gap(node.y, node.height, focused.y, focused.height);
  }
  // The sum is narrowed before the root is taken.
  const float distance = std::sqrt(static_cast<float>(dx * dx + dy * dy));
  return std::max(1.0F, (1000.0F - distance) / 500.0F + 1.0F);
}

std::string JLElementNodeScorer::latinQuery(const std::string& query) {
  std::string latin;
  for (const std::string& word : JLTextUtils::latinWordsForText(query)) {
    latin += (latin.empty() ? "" : " ") + word;
  }
  return latin;
}

}  // namespace jumplark
