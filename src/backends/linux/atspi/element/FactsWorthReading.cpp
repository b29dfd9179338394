#include "backends/linux/atspi/element/FactsWorthReading.h"

#include <algorithm>

#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {

namespace {

bool isCaptionedChooser(uint32_t number) {
  return role::isOneOf<role::comboBox, role::slider, role::dial, role::spinButton, role::dateEditor, role::switchRole>(
      number);
}

bool isPlainControl(uint32_t number) {
  return role::isOneOf<role::checkBox, role::radioButton, role::pushButton, role::pushButtonMenu, role::toggleButton>(
      number);
}

/// What is named after all it holds, so that its name does not tell its own words.
bool mayHoldWords(uint32_t number) {
  return role::isOneOf<role::label, role::listItem, role::tableCell, role::rowHeader, role::columnHeader>(number);
}

}  // namespace

bool isTextEntry(const ElementFacts& element) {
  return role::isOneOf<role::entry, role::text, role::passwordText, role::spinButton, role::terminal, role::editbar,
                       role::autocomplete, role::dateEditor>(element.role);
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

bool isNamedByPlace(const ElementFacts& element) {
  if (element.role != role::tableCell || (element.interfaces & interface_bit::text) == 0) {
    return false;
  }
  const auto isLetter = [](char c) { return c >= 'A' && c <= 'Z'; };
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  const auto row = std::ranges::find_if_not(element.name, isLetter);
  return row != element.name.begin() && row != element.name.end() && std::all_of(row, element.name.end(), isDigit);
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
      (isTextEntry(element) || element.name.empty() || isNamedByPlace(element) ||
       (isHypertext(element) && mayHoldWords(element.role)))) {
    wanted |= facts::text;
  }
  if ((element.interfaces & interface_bit::value) != 0 && !mayHoldSecret(element)) {
    wanted |= facts::value;
  }
  return wanted;
}

}  // namespace jumplark::atspi
