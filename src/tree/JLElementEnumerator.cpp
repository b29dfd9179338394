#include "tree/JLElementEnumerator.h"

#include <vector>

#include "accessibility/JLElement.h"
#include "tree/JLElementTree.h"
#include "tree/JLWebAreaEnumerator.h"
#include "tree/RoleEnumerators.h"

namespace jumplark {
namespace {

/// An application that lists one element below many others could make the tree grow without bound even without a ring;
/// an element's children are collected in this many places at most.
constexpr size_t kMostPlacesEnumerated = 8;

bool isOnPath(const JLElement& element, const JLElementNode* node) {
  while (node) {
    if (node->element() && node->hash() == element.hash() && *node->element() == element) {
      return true;
    }
    const xmlNode* above = node->xml()->parent;
    while (above && above->type == XML_ELEMENT_NODE && !JLElementNode::fromXML(above)) {
      above = above->parent;  // a group between two elements
    }
    node = above && above->type == XML_ELEMENT_NODE ? JLElementNode::fromXML(above) : nullptr;
  }
  return false;
}

JLElementEnumerator::Registry makeRegistry() {
  JLElementEnumerator::Registry registry;
  registry["Default"] = std::make_unique<JLElementEnumerator>();
  registry["AXApplication"] = std::make_unique<JLApplicationEnumerator>();
  registry["AXMenuBar"] = std::make_unique<JLMenuBarEnumerator>();
  registry["AXRadioGroup"] = std::make_unique<JLRadioGroupEnumerator>();
  registry["AXOutline"] = std::make_unique<JLOutlineEnumerator>();
  registry["AXTable"] = std::make_unique<JLTableEnumerator>();
  registry["AXWebArea"] = std::make_unique<JLWebAreaEnumerator>();
  registry["AXLink"] = std::make_unique<JLLinkEnumerator>();
  return registry;
}

}  // namespace

const JLElementEnumerator::Registry& JLElementEnumerator::registeredEnumeratorsByRole() {
  static const Registry registry = makeRegistry();
  return registry;
}

const JLElementEnumerator& JLElementEnumerator::enumeratorForRole(const std::optional<std::string>& role) {
  const Registry& registry = registeredEnumeratorsByRole();
  const auto own = role ? registry.find(*role) : registry.end();
  return own != registry.end() ? *own->second : *registry.at("Default");
}

JLElementNode* JLElementEnumerator::dispatchNodeWithOptions(JLElementNode* node, const EnumerationOptions& options) {
  if (!options.goOn()) {
    return node;
  }
  const std::shared_ptr<JLElement>& element = node->element();
  return enumeratorForRole(element ? std::optional(element->role()) : std::nullopt)
      .enumerateNodeWithOptions(node, options);
}

JLElementNode* JLElementEnumerator::enumerateNodeWithOptions(JLElementNode* node,
                                                             const EnumerationOptions& options) const {
  const bool visible = options.visibleElements && node->element()->attributeExists("AXVisibleChildren");
  return enumerateNodeOnAttributeWithOptions(node, visible ? "AXVisibleChildren" : "AXChildren", options);
}

JLElementNode* JLElementEnumerator::enumerateNodeOnAttributeWithOptions(JLElementNode* node,
                                                                        const std::string& attribute,
                                                                        const EnumerationOptions& options) {
  // Collected first and gone into afterwards, so that a level of the tree takes few stack frames.
  std::vector<std::shared_ptr<JLElement>> children;
  const auto visit = [&](const AttributeValue& value, size_t, bool& stop) {
    const ElementRef* ref = value.element();
    stop = !options.goOn();
    if (!ref || !*ref || stop) {
      return;
    }
    auto child = JLElement::elementWithElementRef(*ref);
    if (!options.visibleElements || intersects(node->bounds(), child->bounds())) {
      children.push_back(std::move(child));
    }
  };
  node->element()->enumerateAttributeUsingBlock(attribute, visit, [&options] { return options.goOn(); });
  for (const auto& child : children) {
    addElementToParentAndEnumerateWithOptions(child, node, !options.noRecursion, options);
  }
  return node;
}

JLElementNode* JLElementEnumerator::addNodeToParentAndEnumerateWithOptions(JLElementNode* child, JLElementNode* parent,
                                                                           bool enumerate,
                                                                           const EnumerationOptions& options) {
  JLElementTree& tree = *parent->rootTree();
  const bool everywhere = child->element() && tree.countOfNodesForElement(*child->element(), kMostPlacesEnumerated) ==
                                                  kMostPlacesEnumerated;
  tree.addChild(parent->xml(), child);
  return enumerate && !everywhere ? dispatchNodeWithOptions(child, options) : child;
}

JLElementNode* JLElementEnumerator::addElementToParentAndEnumerateWithOptions(const std::shared_ptr<JLElement>& element,
                                                                              JLElementNode* parent, bool enumerate,
                                                                              const EnumerationOptions& options) {
  // Only what is in the tree already can be on the path; nearly nothing is, so the walk upwards is rare.
  if (!element || !options.goOn() || (parent->rootTree()->nodeForElement(*element) && isOnPath(*element, parent))) {
    return nullptr;
  }
  return addNodeToParentAndEnumerateWithOptions(JLElementNode::nodeWithJLElement(*parent->rootTree(), element), parent,
                                                enumerate, options);
}

}  // namespace jumplark
