#pragma once

#include <cstdint>
#include <vector>

#include "backends/linux/atspi/reading/Corrections.h"

/// Parts of controls that several toolkits draw and do not tell, with the words that people know them by.
namespace jumplark::atspi {

/// What shows of some kind, from the top to the bottom.
std::vector<const ElementFacts*> shownOf(const ElementDraft& elements, bool (*isWanted)(uint32_t role));

/// How long on the screen what a toolkit counts as one is; styles count in its units.
double unitOf(const Reading& reading);

/// The two buttons of a field for numbers, which make it more and less; nothing where it cannot be changed.
void addSteppers(Reading& reading, const ElementFacts& field, const Rect& more, const Rect& less);

/// The same of a field that has them as two squares at its end, or at both ends where it is upright.
void addSquareSteppers(Reading& reading, const ElementFacts& field);

/// The same of a field that has them one above the other at its end, as wide as in most styles.
void addStackedSteppers(Reading& reading, const ElementFacts& field);

/// What shows and hides the rows below a row of an outline.
void addTriangle(Reading& reading, const ElementFacts& row, const Rect& place);

/// The cross on a tab.
void addCross(Reading& reading, const ElementFacts& tab, const Rect& place);

}  // namespace jumplark::atspi
