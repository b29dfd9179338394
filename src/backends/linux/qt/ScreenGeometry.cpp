#include "backends/linux/qt/ScreenGeometry.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "platform/Screens.h"

namespace jumplark {
namespace {

/// X11 counts in 16 bits.
int pixel(double value) {
  constexpr double kMost = std::numeric_limits<int16_t>::max();
  return std::isnan(value) ? 0 : static_cast<int>(std::lround(std::clamp(value, -kMost, kMost)));
}

int distance(const QRect& rect, QPoint point) {
  const int dx = std::max({rect.left() - point.x(), 0, point.x() - rect.right()});
  const int dy = std::max({rect.top() - point.y(), 0, point.y() - rect.bottom()});
  return dx + dy;
}

}  // namespace

QRect ScreenGeometry::toNative(const Rect& core) const {
  const double top = screens_.primaryFrame().maxY();
  const QPoint upperLeft(pixel(core.minX()), pixel(top - core.maxY()));
  const QPoint lowerRight(pixel(core.maxX()), pixel(top - core.minY()));
  return {upperLeft, QSize(lowerRight.x() - upperLeft.x(), lowerRight.y() - upperLeft.y())};
}

QPoint ScreenGeometry::toNative(Point core) const {
  return {pixel(core.x), pixel(screens_.primaryFrame().maxY() - core.y)};
}

Rect ScreenGeometry::toCore(const QRect& native) const {
  const double top = screens_.primaryFrame().maxY();
  return {double(native.x()), top - native.y() - native.height(), double(native.width()), double(native.height())};
}

const QScreen& ScreenGeometry::screenAt(QPoint native) const {
  const auto screens = QGuiApplication::screens();
  const auto nearest = std::ranges::min_element(
      screens, {}, [&](const QScreen* screen) { return distance(nativeFrame(*screen), native); });
  return nearest == screens.end() ? *QGuiApplication::primaryScreen() : **nearest;
}

double ScreenGeometry::scaleOf(const QScreen& screen) const {
  return unit_ == NativeUnit::pixel ? screen.devicePixelRatio() : 1.0;
}

QRect ScreenGeometry::nativeFrame(const QScreen& screen) const {
  return {screen.geometry().topLeft(), (QSizeF(screen.geometry().size()) * scaleOf(screen)).toSize()};
}

double ScreenGeometry::scaleAt(QPoint native) const {
  return scaleOf(screenAt(native));
}

QRect ScreenGeometry::workAreaAt(QPoint native) const {
  const std::vector<Rect> frames = screens_.frames();
  const std::vector<Rect> areas = screens_.workAreas();
  const auto holder = std::ranges::find_if(frames, [&](const Rect& frame) { return toNative(frame).contains(native); });
  const auto index = holder == frames.end() ? 0 : static_cast<size_t>(holder - frames.begin());
  return index < areas.size() ? toNative(areas[index]) : QRect();
}

QPoint ScreenGeometry::toLogical(QPoint native) const {
  const QScreen& screen = screenAt(native);
  const QPoint origin = screen.geometry().topLeft();
  return origin + (QPointF(native - origin) / scaleOf(screen)).toPoint();
}

}  // namespace jumplark
