#pragma once

#include "tree/JLElementEnumerator.h"

namespace jumplark {

/// Collects a web page without walking its whole element tree: by the application's own search for what can be clicked
/// where it offers one, else by hit tests on a grid over what shows. Without the visibility option, all children.
class JLWebAreaEnumerator final : public JLElementEnumerator {
 public:
  JLElementNode* enumerateNodeWithOptions(JLElementNode* node, const EnumerationOptions& options) const override;

 private:
  static JLElementNode* enumerateVisibleChildrenViaPredicateSearchWithOptions(JLElementNode* node,
                                                                              const EnumerationOptions& options);
  /// Nested documents are walked in full, without the visibility rules.
  static void enumerateWebAreasViaPredicateSearchWithOptions(JLElementNode* node, const EnumerationOptions& options);
  static JLElementNode* enumerateVisibleChildrenViaHitTestingOnNodeWithOptions(JLElementNode* node,
                                                                               const EnumerationOptions& options);
};

}  // namespace jumplark
