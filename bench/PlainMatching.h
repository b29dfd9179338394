#pragma once

#include <optional>
#include <string>
#include <vector>

namespace jumplark {
class JLElementNode;
class JLElementTree;
}  // namespace jumplark

namespace jumplark::bench {

/// Matching without an index: the expression evaluated as XPath over the document, each call of matches() a regular
/// expression compiled anew. What the matcher's times are compared with. None for an invalid expression or pattern;
/// expressions that run away are the caller's to avoid.
std::optional<std::vector<JLElementNode*>> nodesForXPath(const JLElementTree& tree, const std::string& expression);

}  // namespace jumplark::bench
