#include "tree/JLElementNode.h"

#include <spdlog/spdlog.h>

#include <exception>

#include "accessibility/JLElement.h"
#include "accessibility/JLElementAttributeExtractor.h"
#include "query/text/JLTextUtils.h"
#include "query/text/TextFolding.h"
#include "tree/JLElementTree.h"
#include "tree/StrippedNames.h"
#include "tree/XMLElement.h"

namespace jumplark {
namespace {

xmlNode* newElement(const JLElementTree& tree, const char* name) {
  return xmlNewDocNode(tree.document(), nullptr, reinterpret_cast<const xmlChar*>(name), nullptr);
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : " ") + word;
  }
  return text;
}

}  // namespace

JLElementNode::JLElementNode(JLElementTree& tree, std::shared_ptr<JLElement> element)
    : tree_(tree), element_(std::move(element)), xml_(newElement(tree, "Element")) {
  xml_->_private = this;
}

JLElementNode::~JLElementNode() {
  if (!xml_->parent) {
    xmlFreeNode(xml_);
  }
}

JLElementNode* JLElementNode::nodeWithJLElement(JLElementTree& tree, std::shared_ptr<JLElement> element) {
  if (!element) {
    return nullptr;
  }
  JLElementNode* node = tree.newNode(std::move(element));
  node->populateAttributes();
  return node;
}

JLElementNode* JLElementNode::nodeWithRoleAttributes(JLElementTree& tree, const std::string& role,
                                                     const Attributes& attributes) {
  JLElementNode* node = tree.newNode(nullptr);
  node->setAttribute("Role", sanitizedForXML(role));
  xmlNode* text = newElement(tree, "Text");
  for (const auto& [key, value] : attributes) {
    addTextAndLatinizeKeyToNode(value, key, text);
  }
  xmlAddChild(node->xml_, text);
  return node;
}

void JLElementNode::populateAttributes() {
  try {
    populateSearchableText();
    populateBounds();
    xml::addAttribute(xml_, "Hash", std::to_string(element_->hash()));
  } catch (const std::exception& error) {
    spdlog::warn("Error populating attributes: {}", error.what());
  }
}

void JLElementNode::populateSearchableText() {
  xml::addAttribute(xml_, "Role", sanitizedForXML(strippedName(element_->role())));
  if (const auto subrole = element_->subrole()) {
    xml::addAttribute(xml_, "Subrole", sanitizedForXML(strippedName(*subrole)));
  }
  addTextNodeForElement(*element_);
  titleElement_ = element_->titleElement();
  if (titleElement_) {
    addTextNodeForElement(*titleElement_);
  }
}

void JLElementNode::populateBounds() {
  bounds_ = element_ ? element_->bounds() : Rect{};
}

void JLElementNode::addTextNodeForElement(const JLElement& element) {
  xmlNode* text = nullptr;
  for (const auto& [name, value] : JLElementAttributeExtractor::attributesDictionaryForElement(element)) {
    if (value.isNone()) {
      continue;
    }
    if (!text) {
      text = xmlAddChild(xml_, newElement(tree_, "Text"));
    }
    addTextAndLatinizeKeyToNode(value.description(), strippedName(name), text);
  }
}

void JLElementNode::addTextAndLatinizeKeyToNode(std::string text, const std::string& key, xmlNode* node) {
  const std::string base = sanitizedForXML(std::move(text));
  xml::addAttribute(node, key.c_str(), base);
  if (isPlainASCIIText(base)) {
    return;
  }
  const std::string latin = joined(JLTextUtils::latinWordsForText(base));
  if (latin != base) {
    xml::setAttribute(node, (key + "_Latin").c_str(), latin);
  }
  const std::string plain = foldDiacritics(latin);
  if (plain != latin) {
    xml::setAttribute(node, (key + "_Plain").c_str(), plain);
  }
}

void JLElementNode::attachedBelow(xmlNode* parent) {
  const JLElementNode* above = fromXML(parent);
  if (bounds_.isNull() || !above) {
    visibleBounds_ = bounds_.isNull() ? bounds_ : Rect::infinite();
  } else {
    visibleBounds_ = intersection(bounds_, above->visibleBounds_);
  }
}

bool JLElementNode::isWindowButton() const {
  return xml_->parent && xmlStrEqual(xml_->parent->name, reinterpret_cast<const xmlChar*>(kWindowButtons)) != 0;
}

std::optional<std::string> JLElementNode::attribute(const char* name) const {
  return xml::attribute(xml_, name);
}

void JLElementNode::setAttribute(const char* name, const std::string& value) {
  xml::setAttribute(xml_, name, value);
}

xmlNode* JLElementNode::textNode() const {
  for (xmlNode* child = xml_->children; child; child = child->next) {
    if (!child->_private && xmlStrEqual(child->name, reinterpret_cast<const xmlChar*>("Text"))) {
      return child;
    }
  }
  return nullptr;
}

JLElementNode::Attributes JLElementNode::textDictionary() const {
  Attributes dictionary;
  if (const xmlNode* text = textNode()) {
    for (const xmlAttr* attribute = text->properties; attribute; attribute = attribute->next) {
      dictionary.emplace_back(reinterpret_cast<const char*>(attribute->name), xml::valueOf(attribute));
    }
  }
  return dictionary;
}

JLElementNode* JLElementNode::titleNode() const {
  return titleElement_ ? tree_.nodeForElement(*titleElement_) : nullptr;
}

std::string JLElementNode::description() const {
  return xml::prettyText(tree_.document(), xml_);
}

bool operator==(const JLElementNode& a, const JLElementNode& b) {
  return &a == &b || (a.element_ && b.element_ && *a.element_ == *b.element_);
}

uint64_t JLElementNode::hash() const {
  return element_ ? element_->hash() : 0;
}

}  // namespace jumplark
