#include "backends/linux/qt/QtDiscovery.h"

#include <QColor>
#include <QPainter>
#include <QScreen>
#include <algorithm>
#include <cmath>

#include "backends/linux/qt/DiscoveryBubble.h"
#include "backends/linux/qt/NativeWindows.h"
#include "backends/linux/qt/QueryWindowArea.h"
#include "backends/linux/qt/ScreenGeometry.h"

namespace jumplark {
namespace {

/// Between anchor and bubble; in points.
constexpr double kGap = 6;

QColor colorOf(const Color& color) {
  return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                          static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

}  // namespace

QtDiscovery::QtDiscovery(NativeWindows& windows, const ScreenGeometry& geometry, const QueryWindowArea& area)
    : windows_(windows), geometry_(geometry), area_(area) {
  compositorChanged_ = windows_.onCompositorChanged([this] {
    anchor_.reset();
    // Otherwise what lies below has not been painted yet, and cannot be copied.
    if (windows_.compositorRuns()) {
      rebuildAnchor();
    }
    if (popover_) {
      showPopover(text_);
    }
  });
}

QtDiscovery::~QtDiscovery() = default;

void QtDiscovery::setAnchorFrame(const Rect& frame) {
  anchorFrame_ = geometry_.toNative(frame);
  rebuildAnchor();
}

void QtDiscovery::setAnchorColor(const Color& color) {
  anchorColor_ = color;
  rebuildAnchor();
}

void QtDiscovery::orderFrontRegardless() {
  shown_ = true;
  rebuildAnchor();
}

void QtDiscovery::orderOut() {
  shown_ = false;
  rebuildAnchor();
}

void QtDiscovery::rebuildAnchor() {
  anchor_.reset();
  if (shown_ && anchorColor_.alpha > 0 && !anchorFrame_.isEmpty()) {
    anchor_ = makeAnchor();
    anchor_->show(level_);
  }
}

std::unique_ptr<ClickThroughWindow> QtDiscovery::makeAnchor() const {
  auto anchor = windows_.makeClickThroughWindow(anchorFrame_, windows_.compositorRuns());
  const QRect whole(QPoint(), anchor->pictureSize());
  QImage image(whole.size(), anchor->imageFormat());
  image.fill(Qt::transparent);
  if (!anchor->isTranslucent()) {
    anchor->takeGround({whole});
    image = anchor->ground({whole}).front();
    // What is typed would stand still in the copy.
    anchor->setShape({whole}, area_.rect().translated(-anchor->geometry().topLeft()) & whole);
  }
  QPainter(&image).fillRect(whole, colorOf(anchorColor_));
  anchor->put(image, {});
  anchor->refresh({whole});
  return anchor;
}

QPoint QtDiscovery::placeOf(QSize bubble) const {
  const QRect screen = geometry_.nativeFrame(geometry_.screenAt(anchorFrame_.center()));
  const auto gap = static_cast<int>(std::lround(kGap * geometry_.scaleAt(anchorFrame_.center())));
  const auto inside = [](int wanted, int low, int high) { return std::max(low, std::min(wanted, high)); };
  const int x = inside(anchorFrame_.left() + (anchorFrame_.width() - bubble.width()) / 2, screen.left(),
                       screen.right() + 1 - bubble.width());
  const auto fits = [&](int y) {
    const QRect place(QPoint(x, y), bubble);
    return y >= screen.top() && y + bubble.height() <= screen.bottom() + 1 && !place.intersects(area_.rect());
  };
  const int above = anchorFrame_.top() - gap - bubble.height();
  const int below = anchorFrame_.top() + anchorFrame_.height() + gap;
  const int wanted = fits(above) || (!fits(below) && above >= screen.top()) ? above : below;
  return {x, inside(wanted, screen.top(), screen.bottom() + 1 - bubble.height())};
}

void QtDiscovery::showPopover(const std::string& text) {
  text_ = text;
  popover_.reset();
  const QPoint middle = anchorFrame_.center();
  const double ratio = windows_.pictureRatioAt(middle);
  const bool translucent = windows_.compositorRuns();
  const auto pixels = [&](int native) { return static_cast<int>(native * ratio); };
  const auto native = [&](int pixels) { return static_cast<int>(std::ceil(pixels / ratio)); };
  const DiscoveryBubble bubble =
      paintBubble(QString::fromStdString(text), geometry_.scaleAt(middle) * ratio,
                  pixels(geometry_.nativeFrame(geometry_.screenAt(middle)).width()), translucent);
  const QSize size(native(bubble.image.width()), native(bubble.image.height()));
  const int margin = native(bubble.margin);
  const QPoint card = placeOf(size - QSize(2 * margin, 2 * margin));
  popover_ = windows_.makeClickThroughWindow(QRect(card - QPoint(margin, margin), size), translucent);
  popover_->put(bubble.image.convertToFormat(popover_->imageFormat()), {});
  if (!popover_->isTranslucent()) {
    popover_->setRoundedShape(bubble.radius);
  }
  popover_->show(level_ + 1);
}

void QtDiscovery::closePopover() {
  popover_.reset();
}

}  // namespace jumplark
