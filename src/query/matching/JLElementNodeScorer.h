#pragma once

#include <string>

#include "platform/Geometry.h"

namespace jumplark {

class JLElementNode;

/// How well a node fits a query: the best of its texts, of the query as typed and in Latin letters, times its nearness
/// to the element under the pointer. Scores are single-precision. Nodes may be null. Any thread.
class JLElementNodeScorer {
 public:
  /// A title, such as the label beside a field, counts slightly more than the field's own texts.
  static constexpr double kTitleWeight = 1.05;
  /// Only the beginning of a text is scored, in UTF-16 units.
  static constexpr size_t kScoredUnits = 1000;

  static float scoreElementNodeForQueryWithFocusedNode(const JLElementNode* node, const std::string& query,
                                                       const JLElementNode* focusedNode);
  /// The best of the node's texts, and, unless the node is scored as a title itself, of its title's.
  static float scoreElementNodeForQueryIsTitleElement(const JLElementNode* node, const std::string& query,
                                                      bool isTitleElement);
  /// By role and subrole instead of texts; for an empty role text nearness alone.
  static float scoreElementNodeForRoleQueryWithFocusedNode(const JLElementNode* node, const std::string& roleText,
                                                           const JLElementNode* focusedNode);

  /// 3 for nodes that touch or overlap, falling to 1 at 1000 points' distance.
  static float multiplierForElementNodeFocusedNode(const JLElementNode* node, const JLElementNode* focusedNode);
  static float multiplierForRects(const Rect& node, const Rect& focused);

  /// A query's words in Latin letters, with single spaces between them.
  static std::string latinQuery(const std::string& query);
};

}  // namespace jumplark
