#pragma once

#include <memory>
#include <unordered_map>

#include "backends/linux/atspi/element/ElementFacts.h"

namespace jumplark::atspi {

/// Facts by reference, while they are being collected and put right.
using FactsMap = std::unordered_map<ElementRef, std::shared_ptr<ElementFacts>, ElementRefHash>;

/// Null for an element that the map does not hold.
inline ElementFacts* find(const ElementRef& element, const FactsMap& elements) {
  const auto found = elements.find(element);
  return found == elements.end() ? nullptr : found->second.get();
}

}  // namespace jumplark::atspi
