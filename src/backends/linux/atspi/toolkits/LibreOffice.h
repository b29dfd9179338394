#pragma once

#include "backends/linux/atspi/reading/Corrections.h"
#include "backends/linux/atspi/reading/Toolkit.h"
#include "backends/linux/atspi/toolkits/LibreOfficeParts.h"

namespace jumplark::atspi {

/// What LibreOffice draws itself, inside windows of any toolkit.
namespace libreoffice {
bool runs(const ToolkitFacts& facts);
bool mayBeCaptioned(const ElementFacts& element, const ElementDraft& elements);
void nameControls(ElementDraft& elements);
/// What it draws itself counts from the top of the window, though the toolkit's menu bar stands there: its root pane is
/// as large as the panel around it and is where that is. Parts of the toolkit's in between tell their right places.
void correctPlaces(Reading& reading);
/// Paragraphs; their links are elements without a place.
bool mayHoldLinks(const ElementFacts& element);
}  // namespace libreoffice

/// LibreOffice in windows of the toolkit `Drawing`.
template <typename Drawing>
class LibreOfficeOn final : public Drawing {
 public:
  static bool draws(const ToolkitFacts& facts) { return libreoffice::runs(facts) && Drawing::draws(facts); }

  bool keepsClosedMenusTrue() const override { return false; }
  bool mayBeCaptioned(const ElementFacts& element, const ElementDraft& elements) const override {
    return libreoffice::mayBeCaptioned(element, elements);
  }
  bool mayHoldLinks(const ElementFacts& element) const override {
    return Drawing::mayHoldLinks(element) || libreoffice::mayHoldLinks(element);
  }
  void addParts(Reading& reading) const override {
    Drawing::addParts(reading);
    libreoffice::addParts(reading);
  }
  void correctPlaces(Reading& reading) const override {
    Drawing::correctPlaces(reading);
    libreoffice::correctPlaces(reading);
  }
  void nameControls(ElementDraft& elements) const override {
    Drawing::nameControls(elements);
    libreoffice::nameControls(elements);
  }
};

}  // namespace jumplark::atspi
