#include "query/matching/JLElementMatch.h"

#include <fmt/format.h>

#include "tree/JLElementNode.h"

namespace jumplark {

bool operator==(const JLElementMatch& a, const JLElementMatch& b) {
  const bool sameNode = a.node_ == b.node_ || (a.node_ && b.node_ && *a.node_ == *b.node_);
  return sameNode && a.score_ == b.score_;
}

size_t JLElementMatch::hash() const {
  return node_ ? static_cast<size_t>(node_->hash()) : 0;
}

std::string JLElementMatch::description() const {
  // Without a closing bracket, as whoever reads these texts expects them.
  return fmt::format("<JLElementMatch - element: {} score: {:f}", node_ ? node_->description() : "(null)", score_);
}

}  // namespace jumplark
