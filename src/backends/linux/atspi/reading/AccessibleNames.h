#pragma once

#include "backends/linux/atspi/element/ElementDraft.h"

namespace jumplark::atspi {

/// A name or a description that says something.
bool hasWords(const ElementFacts& element);

/// Gives buttons and entries without a word of their own the name and the tool tip of what holds them. Tool bars may
/// put what stands in them into items that carry the words: a button alone with its picture, a field with an arrow for
/// its list. A holder ends where its control does, above and below, and holds no other one of that kind without words.
/// Where the holder has no words either but a caption, the control has that caption: choosers may be made of a box and
/// a button.
void nameAfterHolders(ElementDraft& elements);

/// Rows without a word whose only content is one thing with a name or a description, drawn by the program (a swatch of
/// colour), get its words and hold nothing any more: they are what a person chooses. Cells that hold such a thing get
/// its words.
void nameAfterPictures(ElementDraft& elements);

/// True for a box whose caption is worth asking for, since a button in it may need it. All below it has been read.
bool mayNameAButton(const ElementFacts& element, const ElementDraft& elements);

}  // namespace jumplark::atspi
