#include "backends/linux/qt/Spinner.h"

#include <QConicalGradient>
#include <QPainter>
#include <algorithm>
#include <chrono>

namespace jumplark {
namespace {

constexpr std::chrono::milliseconds kFrame{33};
constexpr int kDegreesPerFrame = 12;

}  // namespace

Spinner::Spinner(QWidget* parent) : QWidget(parent) {
  setAttribute(Qt::WA_TransparentForMouseEvents);
  frames_.setInterval(kFrame);
  connect(&frames_, &QTimer::timeout, this, [this] {
    angle_ = (angle_ + kDegreesPerFrame) % 360;
    update();
  });
  connect(&fading_, &QVariantAnimation::valueChanged, this,
          [this](const QVariant& value) { setOpacityNow(value.toDouble()); });
}

void Spinner::start() {
  started_ = true;
  startOrStop();
}

void Spinner::setOpacity(double opacity, Duration duration) {
  fading_.stop();
  const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
  // What nobody sees needs no animation.
  if (time <= 0 || !isVisible()) {
    setOpacityNow(opacity);
    return;
  }
  fading_.setStartValue(opacity_);
  fading_.setEndValue(opacity);
  fading_.setDuration(static_cast<int>(time));
  fading_.start();
}

void Spinner::setOpacityNow(double opacity) {
  opacity_ = std::clamp(opacity, 0.0, 1.0);
  startOrStop();
  update();
}

void Spinner::startOrStop() {
  const bool turns = started_ && isVisible() && opacity_ > 0;
  if (turns != frames_.isActive()) {
    turns ? frames_.start() : frames_.stop();
  }
}

void Spinner::showEvent(QShowEvent* /*event*/) {
  startOrStop();
}

void Spinner::hideEvent(QHideEvent* /*event*/) {
  if (fading_.state() == QAbstractAnimation::Running) {
    const double end = fading_.endValue().toDouble();
    fading_.stop();
    opacity_ = end;
  }
  frames_.stop();
}

void Spinner::paintEvent(QPaintEvent* /*event*/) {
  if (opacity_ <= 0) {
    return;
  }
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setOpacity(opacity_);
  const double thickness = width() / 8.0;
  const QRectF circle = QRectF(rect()).adjusted(thickness, thickness, -thickness, -thickness);
  QColor color = palette().color(QPalette::Highlight);
  QConicalGradient tail(circle.center(), -angle_);
  tail.setColorAt(0, color);
  color.setAlphaF(0);
  tail.setColorAt(0.85, color);
  painter.setPen(QPen(QBrush(tail), thickness, Qt::SolidLine, Qt::FlatCap));
  painter.drawEllipse(circle);
}

}  // namespace jumplark
