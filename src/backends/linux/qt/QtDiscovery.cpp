#include "backends/linux/qt/QtDiscovery.h"

#include <QColor>
#include <QScreen>
#include <algorithm>
#include <cmath>

#include "backends/linux/qt/DiscoveryBubble.h"
#include "backends/linux/qt/NativeDisplay.h"
#include "backends/linux/qt/QueryWindowArea.h"
#include "backends/linux/qt/ScreenGeometry.h"

namespace jumplark {
namespace {

/// How much of the box's colour shows.
constexpr double kAnchorAlpha = 0.3;
/// Of the outline that stands for the box where nothing can be translucent; in points.
constexpr double kOutline = 2;
/// Between anchor and bubble; in points.
constexpr double kGap = 6;

QColor colorOf(const Color& color, double alpha) {
  return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                          static_cast<float>(color.blue), static_cast<float>(alpha));
}

void fill(ClickThroughWindow& window, const QColor& color) {
  QImage image(window.geometry().size(), window.imageFormat());
  image.fill(color);
  window.put(image, {});
  window.refresh({QRect(QPoint(), window.geometry().size())});
}

}  // namespace

QtDiscovery::QtDiscovery(NativeDisplay& display, WindowStack& stack, const ScreenGeometry& geometry,
                         const QueryWindowArea& area)
    : display_(display), stack_(stack), geometry_(geometry), area_(area) {
  compositorChanged_ = display_.onCompositorChanged([this] {
    rebuildAnchor();
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
  if (anchor->isTranslucent()) {
    fill(*anchor, colorOf(anchorColor_, anchorColor_.alpha * kAnchorAlpha));
    return anchor;
  }
  fill(*anchor, colorOf(anchorColor_, 1));
  const QRect whole(QPoint(), anchorFrame_.size());
  const auto width = static_cast<int>(std::lround(kOutline * ScreenGeometry::scaleAt(anchorFrame_.center())));
  anchor->setShape({whole}, whole.adjusted(width, width, -width, -width));
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
