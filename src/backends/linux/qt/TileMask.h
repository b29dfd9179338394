#pragma once

#include <QRect>
#include <QSize>
#include <vector>

namespace jumplark {

/// A coarse set of pixels: an area cut into equal tiles, some of which are marked. However many rectangles are marked,
/// the cost is that of the area, unlike with exact regions, which overlapping rectangles make slow.
class TileMask {
 public:
  /// The area begins at (0, 0).
  TileMask(QSize area, QSize tile);

  /// Marks every tile that the rectangle touches.
  void mark(const QRect& rect);
  void clear();
  /// Unmarks the tiles that the other mask, of equal tiles, has marked.
  void subtract(const TileMask& other);
  /// The marked tiles, as rectangles within the area: neighbours in a row are one; from top to bottom, from left to
  /// right, all of one row with the same top and height.
  std::vector<QRect> runs() const;

 private:
  QSize area_;
  QSize tile_;
  int columns_;
  int rows_;
  std::vector<char> marked_;
};

}  // namespace jumplark
