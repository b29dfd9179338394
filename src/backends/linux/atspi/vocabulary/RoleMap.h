#pragma once

#include <string_view>

#include "backends/linux/atspi/source/View.h"

namespace jumplark::atspi {

/// What an element is in the "AX" vocabulary, from its role number, its states and what stands around it.
///
/// The rule behind the choices: whatever a person would click ends up with one of the roles that a query looks at
/// (button, link, menu item, cell, static text...); what only holds other elements does not.
class RoleMap {
 public:
  RoleMap(const View& view, WindowSystem& windows) : view_(view), windows_(windows) {}

  /// The element's "AXRole", e.g. "AXButton". Needs the identity group; reads further ones where the role depends on
  /// them.
  std::string_view role(const ElementFacts& element) const;
  /// The element's "AXSubrole"; empty when it has none.
  std::string_view subrole(const ElementFacts& element) const;

  /// True for an element of a document that is known to hold words of its own, besides what its children hold.
  static bool holdsWords(const ElementFacts& element);

  /// True for a frame or dialog directly below its application.
  bool isTopLevel(const ElementFacts& element) const;

 private:
  std::string_view roleOf(const ElementFacts& element) const;
  std::string_view windowRole(const ElementFacts& element) const;
  std::string_view buttonRole(const ElementFacts& element) const;
  std::string_view comboRole(const ElementFacts& element) const;
  std::string_view menuRole(const ElementFacts& element) const;
  std::string_view iconRole(const ElementFacts& element) const;
  std::string_view containerRole(const ElementFacts& element) const;
  /// Java's lists, tables and trees make their entries of labels.
  bool isEntry(const ElementFacts& label) const;
  bool hasChildren(const ElementFacts& element) const;
  bool holdsRadioButtons(const ElementFacts& element) const;
  bool isUnderPanelFrame(const ElementFacts& element) const;
  /// True when a panel's window is of the process that an element belongs to.
  bool ownsPanel(const AtspiHandle& element) const;

  const View& view_;
  WindowSystem& windows_;
};

/// True for roles whose elements hold others and are not clicked themselves, by "AX" name.
bool isContainerRole(std::string_view axRole);

}  // namespace jumplark::atspi
