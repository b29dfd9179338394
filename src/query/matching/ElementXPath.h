#pragma once

#include <optional>
#include <string>
#include <vector>

namespace jumplark {

class JLElementNode;
class JLElementTree;

/// XPath over a snapshot's document, extended by matches(text, pattern) and matches(text, pattern, flags): true when
/// the regular expression, in ICU's syntax, matches somewhere in the text. Of the flags "i" (case is ignored) is known.
/// A node-set stands for its first node's text, an empty one for the empty text.
class ElementXPath {
 public:
  /// The nodes that an expression selects, in document order; XML nodes without an element node are left out. None when
  /// the expression or a pattern in it is invalid; `error` then says why. Writes nothing to the standard error stream.
  static std::optional<std::vector<JLElementNode*>> nodesForXPath(const JLElementTree& tree,
                                                                  const std::string& expression,
                                                                  std::string* error = nullptr);
};

}  // namespace jumplark
