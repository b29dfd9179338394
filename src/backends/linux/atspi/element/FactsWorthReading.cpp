#include "backends/linux/atspi/element/FactsWorthReading.h"

#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {

namespace {

bool isCaptionedChooser(uint32_t number) {
  switch (number) {
    case role::comboBox:
    case role::slider:
    case role::dial:
    case role::spinButton:
    case role::dateEditor:
    case role::switchRole:
      return true;
    default:
      return false;
  }
}

bool isPlainControl(uint32_t number) {
  switch (number) {
    case role::checkBox:
    case role::radioButton:
    case role::pushButton:
    case role::pushButtonMenu:
    case role::toggleButton:
      return true;
    default:
      return false;
  }
}

/// What is named after all it holds, so that its name does not tell its own words.
bool mayHoldWords(uint32_t number) {
  switch (number) {
    case role::label:
    case role::listItem:
    case role::tableCell:
    case role::rowHeader:
    case role::columnHeader:
      return true;
    default:
      return false;
  }
}

}  // namespace

bool isTextEntry(const ElementFacts& element) {
  switch (element.role) {
    case role::entry:
    case role::text:
    case role::passwordText:
    case role::spinButton:
    case role::terminal:
    case role::editbar:
    case role::autocomplete:
    case role::dateEditor:
      return true;
    default:
      return false;
  }
}

bool mayHoldSecret(const ElementFacts& element) {
  return element.role == role::passwordText || element.role == role::invalid;
}

bool isDisclosure(const ElementFacts& element) {
  return element.role == role::toggleButton && element.is(state::expandable) && !element.is(state::hasPopup);
}

bool isHypertext(const ElementFacts& element) {
  constexpr uint32_t kBoth = interface_bit::text | interface_bit::hyperlink;
  return (element.interfaces & kBoth) == kBoth && !mayHoldSecret(element);
}

bool mayBeLabelledByAnother(const ElementFacts& element) {
  return isTextEntry(element) || isCaptionedChooser(element.role) ||
         (isPlainControl(element.role) && element.name.empty());
}

facts::Set factsWorthReading(const ElementFacts& element) {
  facts::Set wanted = 0;
  if (mayBeLabelledByAnother(element)) {
    wanted |= facts::relations;
  }
  if (isTextEntry(element)) {
    wanted |= facts::attributes;
  }
  if ((element.interfaces & interface_bit::text) != 0 && !mayHoldSecret(element) &&
      (isTextEntry(element) || element.name.empty() || (isHypertext(element) && mayHoldWords(element.role)))) {
    wanted |= facts::text;
  }
  if ((element.interfaces & interface_bit::value) != 0 && !mayHoldSecret(element)) {
    wanted |= facts::value;
  }
  return wanted;
}

}  // namespace jumplark::atspi
