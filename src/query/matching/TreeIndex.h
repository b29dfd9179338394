#pragma once

#include <cstdint>
#include <memory>
#include <memory_resource>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "query/matching/FoldedText.h"
#include "query/matching/PreparedText.h"

namespace jumplark {

class JLElementNode;
class JLElementTree;

/// A snapshot in the form that queries run over: the nodes whose role can be acted on and the buttons of the window, in
/// document order, with their texts folded, split into words and each kept once, and their nearness to the node under
/// the pointer. Made once a tree, then read-only and readable from any thread; it lives as long as the tree.
class TreeIndex {
 public:
  /// A run of entries of textNumbers().
  struct Texts {
    uint32_t first = 0;
    uint32_t end = 0;
  };
  struct Candidate {
    JLElementNode* node = nullptr;
    Texts searched;  ///< all texts, also those of the title
    Texts scored;    ///< the element's own
    Texts title;     ///< those of its title's node
    bool hasTitle = false;
    uint32_t role = 0;     ///< number of the role and subrole
    float multiplier = 1;  ///< nearness to the focused node
  };
  struct Role {
    std::u16string role;
    std::u16string subrole;  ///< empty without one
  };

  /// The tree's index, made on the first call.
  static std::shared_ptr<const TreeIndex> of(const JLElementTree& tree);

  explicit TreeIndex(const JLElementTree& tree);

  /// The node to which the multipliers tell the nearness.
  const JLElementNode* focusedNode() const { return focusedNode_; }
  const std::vector<Candidate>& candidates() const { return candidates_; }
  const std::vector<uint32_t>& textNumbers() const { return textNumbers_; }
  const std::vector<Role>& roles() const { return roles_; }

  /// By text number.
  const std::vector<FoldedText>& foldedTexts() const { return folded_; }
  const PreparedText& preparedText(uint32_t number) const { return prepared_[number]; }
  std::u16string_view originalText(uint32_t number) const { return originals_[number]; }

 private:
  class Builder;

  std::pmr::monotonic_buffer_resource memory_;
  const JLElementNode* focusedNode_;
  std::vector<Candidate> candidates_;
  std::vector<uint32_t> textNumbers_;
  std::vector<Role> roles_;
  std::vector<FoldedText> folded_;
  std::vector<PreparedText> prepared_;
  std::vector<std::u16string_view> originals_;
};

}  // namespace jumplark
