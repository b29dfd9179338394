#pragma once

#include <optional>
#include <string>
#include <vector>

namespace jumplark {
class JLElementNode;
class JLElementTree;
}  // namespace jumplark

/// Matching without an index: the expression evaluated as XPath over the document, each call of matches() a regular
/// expression compiled anew, each node scored by itself. What the matcher's results and times are compared with.
namespace jumplark::reference {

/// None for an invalid expression or pattern. Expressions that run away are the caller's to avoid.
std::optional<std::vector<JLElementNode*>> nodesForXPath(const JLElementTree& tree, const std::string& expression);

struct ScoredNode {
  JLElementNode* node;
  float score;
  bool operator==(const ScoredNode&) const = default;
};

/// The nodes that a query matches, in document order.
std::vector<ScoredNode> matches(const JLElementTree& tree, const std::string& query);

}  // namespace jumplark::reference
