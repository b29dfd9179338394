#pragma once

#include <memory>

#include "tree/JLElementEnumerator.h"

namespace jumplark {

/// Takes the snapshot of one application: its element tree, the whole Dock beside it, and the mark of the element under
/// the pointer. Runs to completion on the caller's thread; one enumeration runs at a time.
class JLElementTreeEnumerator {
 public:
  /// Throws std::logic_error for no element.
  explicit JLElementTreeEnumerator(std::shared_ptr<JLElement> element);

  const std::shared_ptr<JLElement>& element() const { return element_; }

  std::shared_ptr<JLElementTree> enumerateElements() const { return enumerateElementsWithOptions({}); }
  std::shared_ptr<JLElementTree> enumerateElementsWithOptions(const EnumerationOptions& options) const;

 private:
  static void addDock(JLElementTree& tree, const EnumerationOptions& options);
  void addWindowButtons(JLElementTree& tree) const;
  static void markElementUnderPointer(JLElementTree& tree);

  std::shared_ptr<JLElement> element_;
};

}  // namespace jumplark
