#pragma once

#include <QColor>
#include <QImage>

namespace jumplark {

/// The image's coverage, blurred and coloured: a glow or a shadow. The result has the image's size, so leave room of
/// about `radius` on every side. Three box blurs, which come close to a Gaussian of half that radius. `gain` makes it
/// denser. The image is of the format ARGB32_Premultiplied, radius in its pixels.
QImage blurredCoverage(const QImage& image, double radius, const QColor& color, double gain = 1);

}  // namespace jumplark
