#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace jumplark {

class JLElementNode;

/// A node that fits a query, with its score. A value: copies are independent, and each keeps the node's tree alive.
class JLElementMatch {
 public:
  explicit JLElementMatch(std::shared_ptr<JLElementNode> node, float score = 0)
      : node_(std::move(node)), score_(score) {}

  const std::shared_ptr<JLElementNode>& node() const { return node_; }
  float score() const { return score_; }
  void setScore(float score) { score_ = score; }

  /// Equal nodes and exactly equal scores.
  friend bool operator==(const JLElementMatch& a, const JLElementMatch& b);
  /// The node's.
  size_t hash() const;
  std::string description() const;

 private:
  std::shared_ptr<JLElementNode> node_;
  float score_;
};

struct JLElementMatchHash {
  size_t operator()(const JLElementMatch& match) const { return match.hash(); }
};

}  // namespace jumplark
