#include "tree/JLElementTree.h"

#include <libxml/dict.h>

#include <algorithm>

#include "accessibility/JLElement.h"
#include "tree/XMLElement.h"

namespace jumplark {

JLElementTree::JLElementTree() : document_(xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0")), &xmlFreeDoc) {
  // Without it the text form has a reference for every character that is not ASCII.
  document_->encoding = xmlStrdup(reinterpret_cast<const xmlChar*>("UTF-8"));
  // Names shared through a dictionary make both building and XPath's name tests cheaper.
  document_->dict = xmlDictCreate();
  xmlDocSetRootElement(document_.get(), newGroup("Root"));
}

JLElementTree::~JLElementTree() = default;

std::shared_ptr<JLElementTree> JLElementTree::tree() {
  return std::shared_ptr<JLElementTree>(new JLElementTree);
}

xmlNode* JLElementTree::rootElement() const {
  return xmlDocGetRootElement(document_.get());
}

std::shared_ptr<JLElementNode> JLElementTree::handle(JLElementNode* node) const {
  return {std::const_pointer_cast<JLElementTree>(shared_from_this()), node};
}

JLElementNode* JLElementTree::newNode(std::shared_ptr<JLElement> element) {
  return owned_.emplace_back(new JLElementNode(*this, std::move(element))).get();
}

xmlNode* JLElementTree::newGroup(const char* name) const {
  return xmlNewDocNode(document_.get(), nullptr, reinterpret_cast<const xmlChar*>(name), nullptr);
}

void JLElementTree::addChild(xmlNode* parent, JLElementNode* node) {
  xmlAddChild(parent, node->xml());
  node->attachedBelow(parent);
  nodes_.push_back(node);
  if (node->element()) {
    nodesByHash_[node->hash()].push_back(node);
  }
}

JLElementNode* JLElementTree::nodeForElement(const JLElement& element) const {
  const auto candidates = nodesByHash_.find(element.hash());
  if (candidates == nodesByHash_.end()) {
    return nullptr;
  }
  const auto& list = candidates->second;
  const auto found =
      std::find_if(list.begin(), list.end(), [&](const auto* node) { return *node->element() == element; });
  return found == list.end() ? nullptr : *found;
}

size_t JLElementTree::countOfNodesForElement(const JLElement& element, size_t most) const {
  const auto candidates = nodesByHash_.find(element.hash());
  return candidates == nodesByHash_.end() ? 0 : std::min(most, candidates->second.size());
}

void JLElementTree::setFocusedNode(JLElementNode* node) {
  node->setAttribute("Focused", "yes");
  if (!focusedNode_) {
    focusedNode_ = node;
  }
}

std::string JLElementTree::debugDescription() const {
  return xml::prettyText(document_.get(), rootElement());
}

std::shared_ptr<const void> JLElementTree::attachment(const std::function<std::shared_ptr<const void>()>& make) const {
  const std::lock_guard lock(attachmentMutex_);
  if (!attachment_) {
    attachment_ = make();
  }
  return attachment_;
}

}  // namespace jumplark
