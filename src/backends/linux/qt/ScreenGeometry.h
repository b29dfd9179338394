#pragma once

#include <QPoint>
#include <QRect>

#include "backends/linux/qt/NativeWindows.h"
#include "platform/Geometry.h"

class QScreen;

namespace jumplark {

class Screens;

/// The one place where coordinates are converted. There are three kinds:
/// - the core's: native units, bottom-left origin; Point and Rect;
/// - native: what the window system is told, top-left origin; on X11 pixels of the root window, on Wayland logical
///   pixels of the compositor's layout;
/// - Qt's logical ones: on Wayland native; on X11 native divided by the screen's scale s, counted from the screen's own
///   origin, which stays native: native = origin + (logical - origin) * s.
class ScreenGeometry {
 public:
  /// The screens must outlive it.
  ScreenGeometry(Screens& screens, NativeUnit unit) : screens_(screens), unit_(unit) {}

  /// Edges are rounded to whole units, each by itself, so that rectangles that share an edge go on sharing it.
  /// Rectangles at infinity come out far away and empty.
  QRect toNative(const Rect& core) const;
  /// The pixel, or logical pixel, whose upper left corner is the point.
  QPoint toNative(Point core) const;
  Rect toCore(const QRect& native) const;

  /// The screen that holds the place, else the nearest one.
  const QScreen& screenAt(QPoint native) const;
  QRect nativeFrame(const QScreen& screen) const;
  /// Native units per point of the screen that holds the place.
  double scaleAt(QPoint native) const;

  /// What panels leave free of the screen that holds the place; of the first one where none does.
  QRect workAreaAt(QPoint native) const;

  QPoint toLogical(QPoint native) const;

 private:
  double scaleOf(const QScreen& screen) const;

  Screens& screens_;
  NativeUnit unit_;
};

}  // namespace jumplark
