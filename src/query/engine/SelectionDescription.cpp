#include "query/engine/SelectionDescription.h"

#include <algorithm>

#include "tree/JLElementNode.h"

namespace jumplark {
namespace {

std::string firstText(const JLElementNode& node) {
  const auto texts = node.textDictionary();
  const auto text = std::find_if(texts.begin(), texts.end(), [](const auto& entry) { return !entry.second.empty(); });
  return text == texts.end() ? std::string() : text->second;
}

}  // namespace

std::string selectionDescription(const JLElementNode& node, const std::string& label) {
  std::string text = firstText(node);
  const JLElementNode* title = text.empty() ? node.titleNode() : nullptr;
  if (title != nullptr) {
    text = firstText(*title);
  }
  if (text.empty()) {
    text = node.attribute("Role").value_or("");
  }
  return label.empty() ? text : text + ", " + label;
}

}  // namespace jumplark
