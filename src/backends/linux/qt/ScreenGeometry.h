#pragma once

#include <QPoint>
#include <QRect>

#include "platform/Geometry.h"

class QScreen;

namespace jumplark {

class Screens;

/// The one place where coordinates are converted. There are three kinds:
/// - the core's: pixels, bottom-left origin; Point and Rect;
/// - native: pixels of the root window, top-left origin; what the X server is told;
/// - Qt's logical ones: native divided by the screen's scale s, counted from the screen's own origin, which stays
///   native: native = origin + (logical - origin) * s.
class ScreenGeometry {
 public:
  /// The screens must outlive it.
  explicit ScreenGeometry(Screens& screens) : screens_(screens) {}

  /// Edges are rounded to whole pixels, each by itself, so that rectangles that share an edge go on sharing it.
  /// Rectangles at infinity come out far away and empty.
  QRect toNative(const Rect& core) const;
  /// The pixel whose upper left corner is the point.
  QPoint toNative(Point core) const;
  Rect toCore(const QRect& native) const;

  /// The screen that holds the pixel, else the nearest one.
  static const QScreen& screenAt(QPoint native);
  static QRect nativeFrame(const QScreen& screen);
  /// Pixels per point of the screen that holds the pixel.
  static double scaleAt(QPoint native);

  /// What panels leave free of the screen that holds the pixel; of the first one where none does.
  QRect workAreaAt(QPoint native) const;

  static QPoint toLogical(QPoint native);
  /// Of a window that is on this screen.
  static QRect logicalToNative(const QRect& logical, const QScreen& screen);

 private:
  Screens& screens_;
};

}  // namespace jumplark
