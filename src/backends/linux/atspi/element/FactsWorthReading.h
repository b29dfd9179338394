#pragma once

#include "backends/linux/atspi/element/ElementFacts.h"

namespace jumplark::atspi {

/// The groups of facts that the attributes of an enumeration ask for, beyond identity, texts, extents and children,
/// once identity and texts of an element are known. A snapshot that prefetches them answers an enumeration without a
/// message; one that reads more pays for what nobody asks (relations grow with the number of siblings in some
/// toolkits).
facts::Set factsWorthReading(const ElementFacts& element);

/// True for elements that another element (a caption beside them) names, so that "AXTitleUIElement" is worth a
/// message: entries, choosers and sliders always, other controls when they have no name of their own.
bool mayBeLabelledByAnother(const ElementFacts& element);

/// True for an element whose text holds its own words between those of its children, each of which stands in it as one
/// character (U+FFFC). Browsers of the Gecko family have no elements for plain words.
bool isHypertext(const ElementFacts& element);

/// True for a cell of a spreadsheet: its name is its column and row ("AB12"), and what a person sees is its text.
bool isNamedByPlace(const ElementFacts& element);

/// True for an element whose text nobody may read: a password field, and whatever did not tell its role, since it may
/// be one.
bool mayHoldSecret(const ElementFacts& element);

/// True for an arrow or line that shows and hides what stands below it.
bool isDisclosure(const ElementFacts& element);

/// True for an element whose content is typed text: entries, spin buttons, texts, terminals, passwords.
bool isTextEntry(const ElementFacts& element);

}  // namespace jumplark::atspi
