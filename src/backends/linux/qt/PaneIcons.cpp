#include "backends/linux/qt/PaneIcons.h"

#include <QFont>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QStandardPaths>
#include <cmath>
#include <functional>
#include <numbers>
#include <utility>

namespace jumplark {
namespace {

const QColor kBlue(0x20, 0x88, 0xd4);
const QColor kYellow(0xff, 0xde, 0x5c);

/// An icon painted on a square of 32 units, in the sizes that panels and window managers ask for.
QIcon painted(const std::function<void(QPainter&)>& paint) {
  QIcon icon;
  for (const int size : {16, 22, 24, 32, 48, 64, 128}) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / 32.0, size / 32.0);
    paint(painter);
    painter.end();
    icon.addPixmap(pixmap);
  }
  return icon;
}

/// The first letter of the name.
QPainterPath letterJ() {
  QPainterPath path;
  path.moveTo(19, 7);
  path.lineTo(19, 18.5);
  path.cubicTo(19, 24.5, 10.5, 25, 9.5, 18.5);
  return path;
}

void paintLetter(QPainter& painter, const QColor& color, qreal width) {
  painter.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.setBrush(Qt::NoBrush);
  painter.drawPath(letterJ());
}

void paintApplication(QPainter& painter) {
  painter.setPen(Qt::NoPen);
  painter.setBrush(kBlue);
  painter.drawRoundedRect(QRectF(2, 2, 28, 28), 7, 7);
  paintLetter(painter, Qt::white, 4);
  painter.setPen(Qt::NoPen);
  painter.setBrush(kYellow);
  painter.drawEllipse(QPointF(24.5, 8), 2.6, 2.6);
}

void paintSwitches(QPainter& painter, const QColor& color) {
  for (const auto& [y, knob] : {std::pair(8.0, 20.0), std::pair(16.0, 11.0), std::pair(24.0, 18.0)}) {
    painter.setPen(QPen(color, 2.2, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(4, y), QPointF(28, y));
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(QPointF(knob, y), 3.6, 3.6);
  }
}

void paintGear(QPainter& painter, const QColor& color) {
  QPainterPath gear;
  constexpr int kTeeth = 8;
  for (int i = 0; i < kTeeth * 4; ++i) {
    const double radius = i % 4 < 2 ? 13 : 9.6;
    const double angle = (i - 0.5) * std::numbers::pi / (kTeeth * 2);
    const QPointF point(16 + radius * std::cos(angle), 16 + radius * std::sin(angle));
    i == 0 ? gear.moveTo(point) : gear.lineTo(point);
  }
  gear.closeSubpath();
  QPainterPath hole;
  hole.addEllipse(QPointF(16, 16), 4.4, 4.4);
  painter.fillPath(gear.subtracted(hole), color);
}

void paintSign(QPainter& painter, const QColor& color, bool triangle) {
  painter.setPen(QPen(color, 2.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  if (triangle) {
    painter.drawPolygon(QPolygonF({QPointF(16, 4), QPointF(29, 27), QPointF(3, 27)}));
    painter.drawLine(QPointF(16, 12.5), QPointF(16, 19));
    painter.drawPoint(QPointF(16, 23));
  } else {
    painter.drawEllipse(QPointF(16, 16), 12.4, 12.4);
    painter.drawLine(QPointF(16, 15), QPointF(16, 22));
    painter.drawPoint(QPointF(16, 10.2));
  }
}

/// A picture that goes by a name of the icon theme where names are understood. QIcon::fromTheme() would know the name
/// only where Qt itself can read the file, which takes a plug-in for SVG.
class NamedPicture final : public QIconEngine {
 public:
  NamedPicture(QString name, QIcon picture) : name_(std::move(name)), picture_(std::move(picture)) {}

  QString iconName() override { return name_; }
  QString key() const override { return QStringLiteral("NamedPicture"); }
  QIconEngine* clone() const override { return new NamedPicture(*this); }
  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
    picture_.paint(painter, rect, Qt::AlignCenter, mode, state);
  }
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    return picture_.pixmap(size, mode, state);
  }
  QList<QSize> availableSizes(QIcon::Mode mode, QIcon::State state) override {
    return picture_.availableSizes(mode, state);
  }

 private:
  QString name_;
  QIcon picture_;
};

bool isInstalled(const QString& symbolicIcon) {
  const QString file = QStringLiteral("icons/hicolor/symbolic/apps/%1.svg").arg(symbolicIcon);
  return !QStandardPaths::locate(QStandardPaths::GenericDataLocation, file).isEmpty();
}

}  // namespace

QIcon applicationIcon() {
  return QIcon::fromTheme(QStringLiteral("jumplark"), painted(paintApplication));
}

QIcon statusIcon(const QString& name) {
  const QIcon picture = painted([](QPainter& painter) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(kBlue);
    painter.drawRoundedRect(QRectF(1, 1, 30, 30), 7, 7);
    paintLetter(painter, Qt::white, 4.4);
  });
  const QString symbolic = QStringLiteral("jumplark-symbolic");
  return QIcon::fromTheme(name, isInstalled(symbolic) ? QIcon(new NamedPicture(symbolic, picture)) : picture);
}

QIcon paneIcon(PaneImage image, const QColor& color) {
  switch (image) {
    case PaneImage::general:
      return painted([color](QPainter& painter) { paintSwitches(painter, color); });
    case PaneImage::advanced:
      return painted([color](QPainter& painter) { paintGear(painter, color); });
    case PaneImage::info:
      return painted([color](QPainter& painter) { paintSign(painter, color, false); });
    case PaneImage::caution:
      return painted([color](QPainter& painter) { paintSign(painter, color, true); });
    case PaneImage::application:
      break;
  }
  return applicationIcon();
}

}  // namespace jumplark
