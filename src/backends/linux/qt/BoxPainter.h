#pragma once

#include <QImage>
#include <QRect>
#include <vector>

#include "platform/Views.h"

class QPainter;

namespace jumplark {

/// Draws filled, outlined boxes with round corners. A corner is drawn once for all boxes of the same look; the rest of
/// a box is plain rectangles. Sizes in pixels.
class BoxPainter {
 public:
  /// The outline lies inside the rectangle, whose edges are whole pixels.
  void paint(QPainter& painter, const BoxLayer& layer, const QRect& rect, double scale);

 private:
  struct Look {
    Color background;
    Color border;
    double radius = 0;
    int borderWidth = 0;
    bool operator==(const Look&) const = default;
  };
  struct Corners {
    Look look;
    int size = 0;  ///< of a corner; the image holds the four of them
    QImage image;
  };

  const Corners& cornersOf(const Look& look);

  std::vector<Corners> kept_;
};

}  // namespace jumplark
