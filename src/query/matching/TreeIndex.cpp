#include "query/matching/TreeIndex.h"

#include <algorithm>

#include "query/matching/JLElementNodeScorer.h"
#include "query/matching/RoleCondition.h"
#include "query/text/RegularExpression.h"
#include "query/text/Utf.h"
#include "tree/JLElementTree.h"
#include "tree/XMLElement.h"

namespace jumplark {

namespace {

constexpr size_t kFirstBlock = size_t{16} * 1024;

std::string_view valueOf(const xmlNode* element, const char* name) {
  const xmlAttr* attribute = xmlHasProp(element, reinterpret_cast<const xmlChar*>(name));
  return attribute != nullptr ? std::string_view(xml::valueOf(attribute)) : std::string_view();
}

std::u16string_view keep(std::u16string_view text, std::pmr::memory_resource& memory) {
  auto* units = static_cast<char16_t*>(memory.allocate(text.size() * sizeof(char16_t), alignof(char16_t)));
  text.copy(units, text.size());
  return {units, text.size()};
}

}  // namespace

class TreeIndex::Builder {
 public:
  Builder(TreeIndex& index, const JLElementTree& tree) : index_(index), tree_(tree) {}

  void build() {
    for (JLElementNode* node : tree_.nodes()) {
      const uint32_t role = roleNumber(*node);
      if (actionable_[role] || node->isWindowButton()) {
        index_.candidates_.push_back(candidate(*node, role));
      }
    }
    // Titles come last: many are candidates, and their texts are known by now.
    for (Candidate& candidate : index_.candidates_) {
      const JLElementNode* title = candidate.hasTitle ? candidate.node->titleNode() : nullptr;
      if (title != nullptr) {
        candidate.title = addTexts(title->textNode());
      }
    }
    index_.candidates_.shrink_to_fit();
  }

 private:
  Candidate candidate(JLElementNode& node, uint32_t role) {
    Candidate result;
    result.node = &node;
    result.role = role;
    result.hasTitle = node.hasTitleElement();
    result.multiplier = JLElementNodeScorer::multiplierForElementNodeFocusedNode(&node, index_.focusedNode_);
    result.searched = {numberOfTexts(), numberOfTexts()};
    const xmlNode* own = node.textNode();
    for (const xmlNode* child = node.xml()->children; child != nullptr; child = child->next) {
      if (child->_private == nullptr && xmlStrEqual(child->name, reinterpret_cast<const xmlChar*>("Text")) != 0) {
        const Texts texts = addTexts(child);
        result.scored = child == own ? texts : result.scored;
      }
    }
    result.searched.end = numberOfTexts();
    return result;
  }

  uint32_t numberOfTexts() const { return static_cast<uint32_t>(index_.textNumbers_.size()); }

  Texts addTexts(const xmlNode* textNode) {
    Texts texts{numberOfTexts(), 0};
    for (const xmlAttr* attribute = textNode != nullptr ? textNode->properties : nullptr; attribute != nullptr;
         attribute = attribute->next) {
      index_.textNumbers_.push_back(textNumber(xml::valueOf(attribute)));
    }
    texts.end = numberOfTexts();
    return texts;
  }

  uint32_t textNumber(std::string_view text) {
    const auto [entry, isNew] = numbers_.try_emplace(text, static_cast<uint32_t>(index_.originals_.size()));
    if (isNew) {
      addText(text);
    }
    return entry->second;
  }

  void addText(std::string_view text) {
    const std::u16string_view original = keep(toUTF16(text), index_.memory_);
    const auto scored = original.substr(0, JLElementNodeScorer::kScoredUnits);
    const PreparedText prepared = PreparedText::prepare(scored, index_.memory_);
    FoldedText folded = foldText(original, storage_);
    const bool sameUnits = folded.units == prepared.bareFolded;
    folded.units = sameUnits ? prepared.bareFolded : keep(storage_, index_.memory_);
    index_.originals_.push_back(original);
    index_.prepared_.push_back(prepared);
    index_.folded_.push_back(folded);
  }

  uint32_t roleNumber(const JLElementNode& node) {
    const std::string_view role = valueOf(node.xml(), "Role");
    const std::string_view subrole = valueOf(node.xml(), "Subrole");
    key_.assign(role);
    key_ += '\0';
    key_ += subrole;
    const auto [entry, isNew] = roleNumbers_.try_emplace(key_, static_cast<uint32_t>(index_.roles_.size()));
    if (isNew) {
      index_.roles_.push_back({toUTF16(role), toUTF16(subrole)});
      actionable_.push_back(roleExpression_ && roleExpression_->matchesWithin(index_.roles_.back().role));
    }
    return entry->second;
  }

  TreeIndex& index_;
  const JLElementTree& tree_;
  std::unordered_map<std::string_view, uint32_t> numbers_;
  std::unordered_map<std::string, uint32_t> roleNumbers_;
  std::vector<bool> actionable_;  // by role number
  std::optional<RegularExpression> roleExpression_ = RegularExpression::compile(toUTF16(rolePattern()));
  std::string key_;
  std::u16string storage_;
};

std::shared_ptr<const TreeIndex> TreeIndex::of(const JLElementTree& tree) {
  return std::static_pointer_cast<const TreeIndex>(
      tree.attachment([&]() -> std::shared_ptr<const void> { return std::make_shared<const TreeIndex>(tree); }));
}

TreeIndex::TreeIndex(const JLElementTree& tree) : memory_(kFirstBlock), focusedNode_(tree.focusedNode()) {
  Builder(*this, tree).build();
}

}  // namespace jumplark
