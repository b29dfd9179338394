#include "backends/linux/qt/BoxPainter.h"

#include <QColor>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace jumplark {
namespace {

/// One for each colour and scale that shows at a time.
constexpr size_t kMostKept = 16;

QColor toQt(const Color& color) {
  return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                          static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

/// Smooth, at any size; what the quick way copies its corners from.
void paintSlowly(QPainter& painter, const QRect& rect, const QColor& background, const QColor& border, double radius,
                 int borderWidth) {
  const double fitting = std::min({radius, rect.width() / 2.0, rect.height() / 2.0});
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(background);
  painter.drawRoundedRect(rect, fitting, fitting);
  if (borderWidth > 0) {
    const double inset = borderWidth / 2.0;
    const double middle = std::max(0.0, fitting - inset);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(border, borderWidth));
    painter.drawRoundedRect(QRectF(rect).adjusted(inset, inset, -inset, -inset), middle, middle);
  }
  painter.restore();
}

}  // namespace

const BoxPainter::Corners& BoxPainter::cornersOf(const Look& look) {
  const auto known = std::ranges::find(kept_, look, &Corners::look);
  if (known != kept_.end()) {
    return *known;
  }
  if (kept_.size() >= kMostKept) {
    kept_.erase(kept_.begin());
  }
  Corners corners{look, std::max(static_cast<int>(std::ceil(look.radius)), look.borderWidth) + 1, {}};
  corners.image = QImage(2 * corners.size, 2 * corners.size, QImage::Format_ARGB32_Premultiplied);
  corners.image.fill(Qt::transparent);
  QPainter painter(&corners.image);
  paintSlowly(painter, corners.image.rect(), toQt(look.background), toQt(look.border), look.radius, look.borderWidth);
  painter.end();
  kept_.push_back(std::move(corners));
  return kept_.back();
}

void BoxPainter::paint(QPainter& painter, const BoxLayer& layer, const QRect& rect, double scale) {
  if (rect.isEmpty()) {
    return;
  }
  const int width = layer.borderWidth > 0 ? std::max(1, static_cast<int>(std::lround(layer.borderWidth * scale))) : 0;
  const Look look{layer.background, layer.border, layer.cornerRadius * scale, width};
  const Corners& corners = cornersOf(look);
  const int size = corners.size;
  const QColor background = toQt(look.background);
  const QColor border = toQt(look.border);
  if (rect.width() < 2 * size || rect.height() < 2 * size) {
    paintSlowly(painter, rect, background, border, look.radius, width);
    return;
  }
  const int right = rect.x() + rect.width() - size;
  const int bottom = rect.y() + rect.height() - size;
  for (const int x : {0, 1}) {
    for (const int y : {0, 1}) {
      painter.drawImage(QPoint(x == 0 ? rect.x() : right, y == 0 ? rect.y() : bottom), corners.image,
                        QRect(x * size, y * size, size, size));
    }
  }
  const int innerWidth = rect.width() - 2 * size;
  const int innerHeight = rect.height() - 2 * size;
  const int left = rect.x();
  const int top = rect.y();
  const int lower = top + rect.height();
  painter.fillRect(left + size, top, innerWidth, width, border);
  painter.fillRect(left + size, lower - width, innerWidth, width, border);
  painter.fillRect(left, top + size, width, innerHeight, border);
  painter.fillRect(left + rect.width() - width, top + size, width, innerHeight, border);
  painter.fillRect(left + size, top + width, innerWidth, size - width, background);
  painter.fillRect(left + size, bottom, innerWidth, size - width, background);
  painter.fillRect(left + width, top + size, rect.width() - 2 * width, innerHeight, background);
}

}  // namespace jumplark
