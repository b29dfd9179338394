#include "tree/JLElementTreeEnumerator.h"

#include <libxml/xpath.h>

#include <stdexcept>

#include "accessibility/JLElement.h"
#include "platform/Platform.h"
#include "platform/Screens.h"
#include "tree/JLElementTree.h"

namespace jumplark {

JLElementTreeEnumerator::JLElementTreeEnumerator(std::shared_ptr<JLElement> element) : element_(std::move(element)) {
  if (!element_) {
    throw std::logic_error("Invalid parameter not satisfying: element");
  }
}

std::shared_ptr<JLElementTree> JLElementTreeEnumerator::enumerateElementsWithOptions(
    const EnumerationOptions& options) const {
  Platform::current().accessibility->prepareSnapshot(element_->ref(), options.visibleElements);
  auto tree = JLElementTree::tree();
  JLElementNode* application = JLElementNode::nodeWithJLElement(*tree, element_);
  tree->addChild(tree->rootElement(), application);
  JLElementEnumerator::dispatchNodeWithOptions(application, options);
  if (options.goOn()) {
    addDock(*tree, options);
  }
  if (options.windowButtons && options.goOn()) {
    addWindowButtons(*tree);
  }
  if (options.goOn()) {
    markElementUnderPointer(*tree);
  }
  // Numbered elements let XPath compare document positions at once.
  xmlXPathOrderDocElems(tree->document());
  return tree;
}

void JLElementTreeEnumerator::addDock(JLElementTree& tree, const EnumerationOptions& options) {
  const auto dock = JLElement::elementWithBundleID(kDockBundleIdentifier);
  if (!dock) {
    return;
  }
  Platform::current().accessibility->prepareSnapshot(dock->ref(), false);
  JLElementNode* node = JLElementNode::nodeWithJLElement(tree, dock);
  tree.addChild(tree.rootElement(), node);
  // Collected whole, without the visibility rules, whatever was asked for the application.
  const EnumerationOptions whole{.isUnwanted = options.isUnwanted};
  if (whole.goOn()) {
    JLElementEnumerator::enumeratorForRole("Default").enumerateNodeWithOptions(node, whole);
  }
}

void JLElementTreeEnumerator::addWindowButtons(JLElementTree& tree) const {
  const auto buttons = Platform::current().accessibility->windowButtons(element_->ref());
  if (buttons.empty()) {
    return;
  }
  xmlNode* group = xmlAddChild(tree.rootElement(), tree.newGroup(JLElementNode::kWindowButtons));
  for (const ElementRef& button : buttons) {
    tree.addChild(group, JLElementNode::nodeWithJLElement(tree, JLElement::elementWithElementRef(button)));
  }
}

void JLElementTreeEnumerator::markElementUnderPointer(JLElementTree& tree) {
  const auto hit = JLElement::elementAtPointFromBottomLeft(Platform::current().screens->pointerLocation());
  JLElementNode* node = hit ? tree.nodeForElement(*hit) : nullptr;
  if (node) {
    tree.setFocusedNode(node);
  }
}

}  // namespace jumplark
