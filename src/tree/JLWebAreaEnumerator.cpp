#include "tree/JLWebAreaEnumerator.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>
#include <vector>

#include "accessibility/JLElement.h"
#include "tree/JLElementTree.h"

namespace jumplark {
namespace {

constexpr const char* kSearchAttribute = "AXUIElementsForSearchPredicate";
constexpr int kResultsLimit = 1000;
constexpr double kColumnStep = 200;  // points
constexpr double kRowStep = 15;      // points
constexpr int kMostProbes = 100000;  // far more than any screen has; an area of absurd size ends here

std::vector<JLElement::Pointer> search(const JLElement& webArea, AttributeValue searchKey, bool visibleOnly) {
  const AttributeValue::Dictionary parameter = {
      {"AXSearchKey", std::move(searchKey)}, {"AXVisibleOnly", visibleOnly}, {"AXResultsLimit", kResultsLimit}};
  const AttributeValue found = webArea.getAttributeWithParameter(kSearchAttribute, parameter);
  std::vector<JLElement::Pointer> elements;
  if (const auto* list = found.list()) {
    for (const AttributeValue& entry : *list) {
      if (entry.element() && *entry.element()) {
        elements.push_back(JLElement::elementWithElementRef(*entry.element()));
      }
    }
  }
  return elements;
}

/// The ancestor of `hit`, or itself, that is the outermost below the elements of `above`; null when all are in `above`.
JLElement::Pointer outermostBelow(const JLElement& hit, const JLElement::OrderedSet& above) {
  for (const auto& step : hit.ancestorsAndSelf()) {
    const bool known = std::any_of(above.begin(), above.end(), [&](const auto& other) { return *other == *step; });
    if (!known) {
      return step;
    }
  }
  return nullptr;
}

}  // namespace

JLElementNode* JLWebAreaEnumerator::enumerateNodeWithOptions(JLElementNode* node,
                                                             const EnumerationOptions& options) const {
  if (!options.visibleElements) {
    return enumerateNodeOnAttributeWithOptions(node, "AXChildren", options);
  }
  return node->element()->parameterizedAttributeExists(kSearchAttribute)
             ? enumerateVisibleChildrenViaPredicateSearchWithOptions(node, options)
             : enumerateVisibleChildrenViaHitTestingOnNodeWithOptions(node, options);
}

JLElementNode* JLWebAreaEnumerator::enumerateVisibleChildrenViaPredicateSearchWithOptions(
    JLElementNode* node, const EnumerationOptions& options) {
  const AttributeValue::List keys = {"AXLinkSearchKey",       "AXButtonSearchKey",    "AXCheckBoxSearchKey",
                                     "AXRadioGroupSearchKey", "AXTextFieldSearchKey", "AXGraphicSearchKey",
                                     "AXControlSearchKey",    "AXStaticTextSearchKey"};
  for (const auto& element : search(*node->element(), keys, true)) {
    addElementToParentAndEnumerateWithOptions(element, node, false, options);
  }
  enumerateWebAreasViaPredicateSearchWithOptions(node, options);
  return node;
}

void JLWebAreaEnumerator::enumerateWebAreasViaPredicateSearchWithOptions(JLElementNode* node,
                                                                         const EnumerationOptions& options) {
  if (!options.goOn()) {
    return;
  }
  EnumerationOptions whole = options;
  whole.visibleElements = false;
  for (const auto& element : search(*node->element(), "AXFrameSearchKey", false)) {
    addElementToParentAndEnumerateWithOptions(element, node, true, whole);
  }
}

JLElementNode* JLWebAreaEnumerator::enumerateVisibleChildrenViaHitTestingOnNodeWithOptions(
    JLElementNode* node, const EnumerationOptions& options) {
  const auto application = node->element()->application();
  const Rect visible = node->visibleBounds();
  if (!application || visible.isInfinite() || visible.isNull()) {
    return node;
  }
  const auto above = node->element()->ancestorsAndSelf();
  std::unordered_set<ElementRef, ElementRefHash> added;
  int probes = 0;
  for (double x = std::trunc(visible.minX()); x < visible.maxX() && probes < kMostProbes; x += kColumnStep) {
    for (double y = std::trunc(visible.minY()); y < visible.maxY() && probes < kMostProbes; y += kRowStep, ++probes) {
      if (!options.goOn()) {
        return node;
      }
      const auto hit = JLElement::elementAtPointFromBottomLeftForApplication({x, y}, *application);
      if (!hit || *hit == *node->element()) {
        continue;
      }
      const auto child = outermostBelow(*hit, above);
      if (child && added.insert(child->ref()).second) {
        addElementToParentAndEnumerateWithOptions(child, node, true, options);
      }
    }
  }
  return node;
}

}  // namespace jumplark
