#pragma once

#include <memory>
#include <string>
#include <vector>

#include "query/matching/JLElementMatch.h"
#include "streams/Stream.h"

namespace jumplark {

class JLElementTree;

/// Finds what a typed text means in a snapshot. The query becomes one XPath expression over the tree's document; every
/// node that it selects is scored, and those above 0.1 are the matches, in document order.
///
/// A text query's letters have to stand in one text of the node in their order; a query that begins with "." looks at
/// roles and subroles instead. Expressions as queries give them are answered from the tree's index; the few that hold
/// what could change their meaning as XPath (an apostrophe, a control character) are evaluated as XPath. An invalid
/// expression or pattern gives no matches.
///
/// A search runs when its stream is subscribed, on the subscriber's thread, and delivers on the shared high-priority
/// queue. A null tree and an empty query complete at once without a match.
class JLElementMatcher {
 public:
  using Tree = std::shared_ptr<JLElementTree>;

  static const std::string& roleCondition();

  static Stream<JLElementMatch> searchElementTreeWithQuery(const Tree& tree, const std::string& query);
  /// The same as a list. Waits for it; may be called on any queue, also on the high-priority one.
  static std::vector<JLElementMatch> resultsForElementTreeWithQuery(const Tree& tree, const std::string& query);
  static Stream<JLElementMatch> searchElementTreeWithText(const Tree& tree, const std::string& text);
  static Stream<JLElementMatch> searchElementTreeWithRoleText(const Tree& tree, const std::string& roleText);

  /// The expressions that the searches evaluate.
  static std::string expressionForText(const std::string& text);
  static std::string expressionForRoleText(const std::string& roleText);

  /// Makes the tree's index now rather than at the first query.
  static void prepare(const JLElementTree& tree);
  /// Loads the tables of matching and transcription (some 0.2 s), so that the first activation need not wait for them.
  static void warm();
};

}  // namespace jumplark
