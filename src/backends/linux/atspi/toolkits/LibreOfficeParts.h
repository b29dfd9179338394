#pragma once

#include "backends/linux/atspi/reading/Corrections.h"

namespace jumplark::atspi::libreoffice {

/// What LibreOffice draws and does not tell: the arrows beside buttons of tool bars, which open a list and are as far
/// as such a button is wider than others of its bar, and the headers of a spreadsheet's columns and rows, which stand
/// in the strips above and beside its table, over the cells.
void addParts(Reading& reading);

}  // namespace jumplark::atspi::libreoffice
