#pragma once

#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// Every Java program whose accessibility the ATK wrapper tells.
class Swing final : public Toolkit {
 public:
  static bool draws(const ToolkitFacts& facts) { return facts.name == "J2SE-access-bridge"; }

  /// Column headers have no height; which element is one is known later, see settlePlace().
  std::optional<Rect> placeTold(const Rect& reported, Point offset) const override;
  /// The place of a dialog counts from the window that it belongs to, which is no place, and headers get the height of
  /// a line.
  void settlePlace(ElementFacts& element) const override;
  /// The place of a page counts from its tab, though it lies beside all tabs.
  bool isMisplaced(const ElementFacts& element, const ElementFacts& parent) const override;
  /// Lists make their entries on demand.
  int64_t mostChildren(const ElementFacts& container) const override;
  /// A spin button has the text of its field, which stands in it a second time.
  bool isLeaf(uint32_t number) const override;
  /// What is in the page of a tab tells its right place, and so does what fills a window that cannot tell its own.
  void correctPlaces(Reading& reading) const override;
  /// Trees hold their entries in one another, though each lies below the one that holds it, not in it. All become
  /// children of the tree, so that only the tree and what is around it clips them.
  void reparent(ElementDraft& elements) const override;
  /// The arrows of its spin buttons and the handles of its trees, to which it gives no elements.
  void addParts(Reading& reading) const override;
  std::string adviceForSilent(int32_t pid, const Snapshot* snapshot) const override;
};

}  // namespace jumplark::atspi
