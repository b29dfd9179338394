#include "backends/linux/qt/DiscoveryBubble.h"

#include <QFont>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <algorithm>
#include <cmath>

#include "backends/linux/qt/SoftBlur.h"

namespace jumplark {
namespace {

constexpr int kFontSize = 13;
constexpr int kPadding = 10;
constexpr double kRadius = 7;
constexpr int kShadow = 14;
constexpr int kShadowDrop = 3;
constexpr qsizetype kMostLines = 24;

QStringList shortened(QStringList lines, const QFontMetrics& metrics, int width) {
  if (lines.size() > kMostLines) {
    lines = lines.mid(0, kMostLines - 1);
    lines.append(QStringLiteral("…"));
  }
  for (QString& line : lines) {
    line = metrics.elidedText(line, Qt::ElideRight, width);
  }
  return lines;
}

QImage roundedCard(QSize size, const QRectF& card, double radius, const QBrush& fill, const QPen& outline) {
  QImage image(size, QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(fill);
  painter.setPen(outline);
  painter.drawRoundedRect(card, radius, radius);
  return image;
}

}  // namespace

DiscoveryBubble paintBubble(const QString& text, double scale, int maximalWidth, bool withShadow) {
  const auto scaled = [scale](double points) { return static_cast<int>(std::lround(points * scale)); };
  QFont font = QGuiApplication::font();
  font.setPixelSize(scaled(kFontSize));
  const QFontMetrics metrics(font);
  const int padding = scaled(kPadding);
  DiscoveryBubble bubble{{}, withShadow ? scaled(kShadow) : 0, kRadius * scale};
  const int room = maximalWidth - 2 * (padding + bubble.margin);
  const QStringList lines = shortened(text.split(QLatin1Char('\n')), metrics, std::max(room, padding));
  int width = 0;
  for (const QString& line : lines) {
    width = std::max(width, metrics.horizontalAdvance(line));
  }
  const int height = static_cast<int>(lines.size()) * metrics.lineSpacing();
  const QRect card(bubble.margin, bubble.margin, width + 2 * padding, height + 2 * padding);
  const QSize size = card.size() + QSize(2 * bubble.margin, 2 * bubble.margin);

  const QPalette palette = QGuiApplication::palette();
  QColor border = palette.color(QPalette::ToolTipText);
  border.setAlphaF(0.25F);
  const QImage body = roundedCard(size, QRectF(card).adjusted(0.5, 0.5, -0.5, -0.5), bubble.radius,
                                  palette.color(QPalette::ToolTipBase), QPen(border, std::max(1.0, std::floor(scale))));
  bubble.image = body;
  if (withShadow) {
    const QImage shape =
        roundedCard(size, QRectF(card).translated(0, scaled(kShadowDrop)), bubble.radius, Qt::black, Qt::NoPen);
    bubble.image = blurredCoverage(shape, bubble.margin * 0.8, QColor(0, 0, 0, 90));
  }
  QPainter painter(&bubble.image);
  painter.drawImage(0, 0, body);
  painter.setFont(font);
  painter.setPen(palette.color(QPalette::ToolTipText));
  int baseline = card.top() + padding + metrics.ascent();
  for (const QString& line : lines) {
    painter.drawText(card.left() + padding, baseline, line);
    baseline += metrics.lineSpacing();
  }
  return bubble;
}

}  // namespace jumplark
