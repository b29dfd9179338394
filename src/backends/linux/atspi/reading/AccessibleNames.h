#pragma once

#include "backends/linux/atspi/element/FactsMap.h"
#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// Gives buttons and entries without a word of their own the name and the tool tip of what holds them. GTK 3 puts what
/// stands in a tool bar into items that carry the words: a button alone with its picture, a field with an arrow for its
/// list. A holder ends where its control does, above and below, and holds no other one of that kind without words.
/// Where the holder has no words either but a caption, the control has that caption: LibreOffice makes its choosers of
/// a box and a button.
void nameAfterHolders(const Toolkit& toolkit, FactsMap& elements);

/// True for a box whose caption is worth asking for, since a button in it may need it. All below it has been read.
bool mayNameAButton(const Toolkit& toolkit, const ElementFacts& element, const FactsMap& elements);

/// Names the button at the end of a Qt tool bar too narrow for its actions, which has no word of its own and shows two
/// arrows: "More" and ">>". A tool bar makes it before anything else, so that it comes first in it.
void nameExtensionsOfToolBars(const Toolkit& toolkit, FactsMap& elements);

}  // namespace jumplark::atspi
