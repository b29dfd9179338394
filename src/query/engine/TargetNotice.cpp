#include "query/engine/TargetNotice.h"

#include <fmt/format.h>

#include <algorithm>

#include "accessibility/JLElement.h"
#include "platform/Accessibility.h"
#include "platform/DesktopServices.h"
#include "platform/Platform.h"
#include "platform/Texts.h"
#include "tree/JLElementTree.h"

namespace jumplark {
namespace {

bool isBelow(const xmlNode* node, const xmlNode* ancestor) {
  while (node != nullptr && node != ancestor) {
    node = node->parent;
  }
  return node == ancestor;
}

/// Windows alone are what the window system knows of an application; they are nothing to choose from.
bool isChoice(const JLElementNode& node) {
  const auto role = node.attribute("Role");
  return role && *role != "Window" && *role != "Application";
}

bool hasChoices(const JLElementTree& tree) {
  const auto& nodes = tree.nodes();
  if (nodes.empty()) {
    return false;
  }
  // The application comes first; what follows it and is not below it is the panel.
  const xmlNode* application = nodes.front()->xml();
  for (auto node = nodes.begin() + 1; node != nodes.end() && isBelow((*node)->xml(), application); ++node) {
    if (isChoice(**node)) {
      return true;
    }
  }
  return false;
}

bool holdsElements(const xmlNode* node) {
  for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
    if (JLElementNode::fromXML(child) != nullptr) {
      return true;
    }
  }
  return false;
}

std::string withAdvice(const std::string& finding, const std::string& advice) {
  return advice.empty() ? finding : finding + " " + advice;
}

}  // namespace

bool hasEmptyPage(const JLElementTree& tree) {
  bool isEmpty = false;
  for (const auto& node : tree.nodes()) {
    const bool isPage = node->attribute("Role") == "WebArea";
    const bool mayHoldPage = isPage || node->attribute("Subrole") == "PageFrame";
    if (!mayHoldPage || node->visibleBounds().isNull()) {
      continue;
    }
    const bool isFilled = holdsElements(node->xml());
    // A page may hold frames that stay empty.
    if (isPage && isFilled) {
      return false;
    }
    isEmpty = isEmpty || !isFilled;
  }
  return isEmpty;
}

std::string noticeForTarget(const JLElement& application, const JLElementTree& tree, const std::string& name) {
  if (hasChoices(tree)) {
    return {};
  }
  const auto role = Platform::current().accessibility->copyAttributeValue(application.ref(), "AXRole");
  if (role.error == AccessibilityError::cannotComplete) {
    return localizedFormat("{} does not answer; F5 asks it again.", name);
  }
  DesktopServices* const desktop = Platform::current().desktop;
  const std::string advice = desktop != nullptr ? desktop->adviceForSilence(application.pid()) : std::string();
  switch (role.error) {
    case AccessibilityError::success:
    case AccessibilityError::noValue:
    case AccessibilityError::attributeUnsupported:
      return withAdvice(localizedFormat("{} shows nothing that can be chosen here.", name), advice);
    default:
      return advice.empty() ? localizedFormat("{} does not tell what it shows; starting it again may help.", name)
                            : withAdvice(localizedFormat("{} does not tell what it shows.", name), advice);
  }
}

}  // namespace jumplark
