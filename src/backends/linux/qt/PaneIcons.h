#pragma once

#include <QIcon>

#include "platform/AppViews.h"

namespace jumplark {

/// The program's own icon: the desktop's, where the program is installed with one, else painted.
QIcon applicationIcon();
/// The icon in the panel: the installed one of this name, else painted in one colour that shows on dark and light.
QIcon statusIcon(const QString& name);
/// The pictogram of a pane, in the colour of texts.
QIcon paneIcon(PaneImage image, const QColor& color);

}  // namespace jumplark
