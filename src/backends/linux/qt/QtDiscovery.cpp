#include "backends/linux/qt/QtDiscovery.h"

#include <QColor>
#include <QPainter>
#include <QScreen>
#include <algorithm>
#include <cmath>

#include "backends/linux/qt/Backdrop.h"
#include "backends/linux/qt/DiscoveryBubble.h"
#include "backends/linux/qt/NativeDisplay.h"
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

QtDiscovery::QtDiscovery(NativeDisplay& display, WindowStack& stack, const ScreenGeometry& geometry,
                         const QueryWindowArea& area)
    : display_(display), stack_(stack), geometry_(geometry), area_(area) {
  compositorChanged_ = display_.onCompositorChanged([this] {
    anchor_.reset();
    // Otherwise what lies below has not been painted yet, and cannot be copied.
    if (display_.compositorRuns()) {
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
  auto anchor = std::make_unique<ClickThroughWindow>(display_, stack_, anchorFrame_, display_.compositorRuns());
  const QRect whole(QPoint(), anchor->geometry().size());
  QImage image(whole.size(), anchor->imageFormat());
  image.fill(Qt::transparent);
  if (!anchor->isTranslucent()) {
    Backdrop backdrop(display_, anchor->geometry());
    backdrop.take({whole});
    image = backdrop.read(backdrop.ask(whole));
    // What is typed would stand still in the copy.
    anchor->setShape({whole}, area_.rect().translated(-anchor->geometry().topLeft()) & whole);
  }
  QPainter(&image).fillRect(whole, colorOf(anchorColor_));
  anchor->put(image, {});
  anchor->refresh({whole});
  return anchor;
}

QPoint QtDiscovery::placeOf(QSize bubble) const {
  const QRect screen = ScreenGeometry::nativeFrame(ScreenGeometry::screenAt(anchorFrame_.center()));
  const auto gap = static_cast<int>(std::lround(kGap * ScreenGeometry::scaleAt(anchorFrame_.center())));
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
  const QScreen& screen = ScreenGeometry::screenAt(anchorFrame_.center());
  const bool translucent = display_.compositorRuns();
  const DiscoveryBubble bubble = paintBubble(QString::fromStdString(text), screen.devicePixelRatio(),
                                             ScreenGeometry::nativeFrame(screen).width(), translucent);
  const QSize margins(2 * bubble.margin, 2 * bubble.margin);
  const QPoint card = placeOf(bubble.image.size() - margins);
  popover_ = std::make_unique<ClickThroughWindow>(
      display_, stack_, QRect(card - QPoint(bubble.margin, bubble.margin), bubble.image.size()), translucent);
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
