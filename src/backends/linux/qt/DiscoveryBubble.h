#pragma once

#include <QImage>
#include <QString>

namespace jumplark {

/// A picture of lines of text in a rounded bubble, in the desktop's tool tip colours; with a soft shadow around it on
/// request. `margin` is the width of that shadow in pixels, on each side.
struct DiscoveryBubble {
  QImage image;  ///< ARGB32_Premultiplied
  int margin = 0;
  double radius = 0;  ///< of its corners
};

/// Lines longer than `maximalWidth` pixels are cut, and so are texts of very many lines.
DiscoveryBubble paintBubble(const QString& text, double scale, int maximalWidth, bool withShadow);

}  // namespace jumplark
