#pragma once

#include <QIcon>

#include "platform/AppViews.h"

namespace jumplark {

/// The program's own icon: the desktop's, where the program is installed with one, else painted.
QIcon applicationIcon();
/// The icon in the panel: the icon theme's of this name, else the program's symbolic one where that is installed, by
/// its name alone, so that the panel gives it the colour of its own texts; else, and for panels that take pictures
/// only, painted in colours that show on dark and light.
QIcon statusIcon(const QString& name);
/// The pictogram of a pane, in the colour of texts.
QIcon paneIcon(PaneImage image, const QColor& color);

}  // namespace jumplark
