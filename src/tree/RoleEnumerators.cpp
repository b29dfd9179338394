#include "tree/RoleEnumerators.h"

#include "accessibility/JLElement.h"
#include "tree/JLElementTree.h"

namespace jumplark {

JLElementNode* JLApplicationEnumerator::enumerateNodeWithOptions(JLElementNode* node,
                                                                 const EnumerationOptions& options) const {
  const auto focusedWindow = node->element()->getElementAttribute("AXFocusedWindow");
  const auto menuBar = node->element()->getElementAttribute("AXMenuBar");
  addElementToParentAndEnumerateWithOptions(focusedWindow, node, true, options);
  addElementToParentAndEnumerateWithOptions(menuBar, node, true, options);
  return node;
}

JLElementNode* JLMenuBarEnumerator::enumerateNodeWithOptions(JLElementNode* node,
                                                             const EnumerationOptions& options) const {
  JLElementEnumerator::enumerateNodeWithOptions(
      node, {.visibleElements = false, .noRecursion = true, .isUnwanted = options.isUnwanted});
  if (options.goOn()) {
    JLMenuExtrasEnumerator().enumerateNodeWithOptions(node, options);
  }
  return node;
}

JLElementNode* JLMenuExtrasEnumerator::enumerateNodeWithOptions(JLElementNode* node,
                                                                const EnumerationOptions& options) const {
  constexpr double kStep = 15;  // points
  constexpr int kMostMisses = 4;

  JLElementTree& tree = *node->rootTree();
  xmlNode* extras = tree.newGroup("MenuExtras");
  const Rect bar = node->element() ? node->element()->bounds() : Rect{};
  Point point{bar.maxX() - kStep, bar.midY()};
  for (int misses = 0; bar.contains(point) && misses < kMostMisses && options.goOn();) {
    const auto hit = JLElement::elementAtPointFromBottomLeft(point);
    if (hit && !(*hit == *node->element()) && hit->role() == "AXMenuBarItem") {
      const Rect item = hit->bounds();
      // The walk reaches the bar's own items too; those are there already.
      const JLElementNode* known = tree.nodeForElement(*hit);
      if (!known || (known->xml()->parent != node->xml() && known->xml()->parent != extras)) {
        tree.addChild(extras, JLElementNode::nodeWithJLElement(tree, hit));
      }
      point.x = item.minX() < point.x ? item.minX() : point.x;
    } else {
      ++misses;
    }
    point.x -= kStep;
  }
  xmlAddChild(node->xml(), extras);
  return node;
}

JLElementNode* JLRadioGroupEnumerator::enumerateNodeWithOptions(JLElementNode* node,
                                                                const EnumerationOptions& options) const {
  return enumerateNodeOnAttributeWithOptions(node, "AXChildren", options);
}

JLElementNode* JLOutlineEnumerator::enumerateNodeWithOptions(JLElementNode* node,
                                                             const EnumerationOptions& options) const {
  return enumerateNodeOnAttributeWithOptions(node, options.visibleElements ? "AXVisibleRows" : "AXRows", options);
}

JLElementNode* JLTableEnumerator::enumerateNodeWithOptions(JLElementNode* node,
                                                           const EnumerationOptions& options) const {
  return enumerateNodeOnAttributeWithOptions(node, options.visibleElements ? "AXVisibleRows" : "AXRows", options);
}

JLElementNode* JLLinkEnumerator::enumerateNodeWithOptions(JLElementNode* node, const EnumerationOptions&) const {
  return node;
}

}  // namespace jumplark
