#include "backends/linux/qt/OverlaySheet.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <unordered_map>

#include "backends/linux/qt/NativeWindows.h"

namespace jumplark {
namespace {

/// Small enough that single boxes cost little, large enough that a screen full of them does too.
constexpr QSize kPaintedTile{64, 32};
/// How close around boxes the window ends, without a compositor.
constexpr QSize kCoveredTile{8, 8};

size_t hashOf(const PlacedLayer& layer) {
  const size_t place = qHashMulti(0, layer.box.x(), layer.box.y(), layer.box.width(), layer.box.height());
  return place ^ (std::hash<std::string>{}(layer.layer.label.text) * 31);
}

bool sameLabel(const LabelLayer& a, const LabelLayer& b) {
  return a.text == b.text && a.fontFamily == b.fontFamily && a.fontSize == b.fontSize &&
         a.strokeWidth == b.strokeWidth && a.foreground == b.foreground && a.stroke == b.stroke &&
         a.shadow == b.shadow && a.shadowRadius == b.shadowRadius;
}

QImage transparentImage(QSize size, QImage::Format format) {
  QImage image(size, format);
  image.fill(Qt::transparent);
  return image;
}

}  // namespace

bool PlacedLayer::operator==(const PlacedLayer& other) const {
  return box == other.box && layer.background == other.layer.background &&
         layer.cornerRadius == other.layer.cornerRadius && layer.borderWidth == other.layer.borderWidth &&
         layer.border == other.layer.border && sameLabel(layer.label, other.layer.label);
}

OverlaySheet::OverlaySheet(NativeWindows& windows, LayerPainters& painters, const QRect& screen, double scale)
    : painters_(painters),
      screen_(screen),
      ratio_(windows.pictureRatioAt(screen.center())),
      scale_(scale * ratio_),
      window_(windows.makeClickThroughWindow(screen, windows.compositorRuns())),
      dirty_(window_->pictureSize(), kPaintedTile),
      covered_(window_->pictureSize(), kCoveredTile) {
  if (!isTranslucent()) {
    window_->setShape({}, {});
  }
}

QRect OverlaySheet::toPixels(const QRect& native) const {
  const QRect inside = native.translated(-screen_.topLeft());
  const auto pixel = [&](int edge) { return static_cast<int>(std::lround(edge * ratio_)); };
  const QPoint upperLeft(pixel(inside.x()), pixel(inside.y()));
  const QPoint lowerRight(pixel(inside.x() + inside.width()), pixel(inside.y() + inside.height()));
  return {upperLeft, QSize(lowerRight.x() - upperLeft.x(), lowerRight.y() - upperLeft.y())};
}

void OverlaySheet::show(int level) {
  if (!isShown()) {
    cover();
    paint();
  }
  window_->show(level);
}

void OverlaySheet::hide() {
  if (isShown()) {
    window_->hide();
  }
}

void OverlaySheet::setLayers(const std::vector<PlacedLayer>& layers) {
  std::vector<Layer> before = std::move(layers_);
  layers_.clear();
  for (const PlacedLayer& placed : layers) {
    const QRect box = toPixels(placed.box);
    const QRect extent = box | painters_.labels.extent(placed.layer.label, scale_).translated(box.center());
    if (extent.intersects(whole())) {
      layers_.push_back({placed, box, extent});
    }
  }
  markChanges(before, layers_);
  if (isShown()) {
    cover();
    paint();
  }
}

/// Marks the place of every layer that has come, gone, or got another neighbour in front of or behind it: all but a
/// subsequence common to both.
void OverlaySheet::markChanges(const std::vector<Layer>& before, const std::vector<Layer>& after) {
  std::unordered_map<size_t, std::vector<size_t>> places;
  for (size_t i = before.size(); i-- > 0;) {
    places[hashOf(before[i].placed)].push_back(i);
  }
  std::vector<bool> stays(before.size());
  size_t next = 0;
  for (const Layer& layer : after) {
    auto& candidates = places[hashOf(layer.placed)];
    while (!candidates.empty() && candidates.back() < next) {
      candidates.pop_back();
    }
    if (!candidates.empty() && before[candidates.back()].placed == layer.placed) {
      stays[candidates.back()] = true;
      next = candidates.back() + 1;
    } else {
      dirty_.mark(layer.extent);
    }
  }
  for (size_t i = 0; i < before.size(); ++i) {
    if (!stays[i]) {
      dirty_.mark(before[i].extent);
    }
  }
}

void OverlaySheet::setHole(const QRect& hole) {
  const QRect inside = toPixels(hole) & whole();
  if (inside == hole_) {
    return;
  }
  // Only layers are cut, so only where some are does the picture change.
  for (const Layer& layer : layers_) {
    dirty_.mark(layer.extent & hole_);
    dirty_.mark(layer.extent & inside);
  }
  hole_ = inside;
  if (isShown()) {
    cover();
    paint();
  }
}

/// Without a compositor: copies what the window is about to hide and makes it exactly so large.
void OverlaySheet::cover() {
  if (isTranslucent()) {
    return;
  }
  TileMask wanted(window_->pictureSize(), kCoveredTile);
  for (const Layer& layer : layers_) {
    wanted.mark(layer.extent);
  }
  TileMask fresh = wanted;
  fresh.subtract(covered_);
  const std::vector<QRect> parts = fresh.runs();
  window_->takeGround(parts);
  for (const QRect& part : parts) {
    dirty_.mark(part);
  }
  covered_ = wanted;
}

void OverlaySheet::paint() {
  window_->setBlank(layers_.empty());
  const std::vector<QRect> runs = dirty_.runs();
  dirty_.clear();
  if (!runs.empty()) {
    const int rowHeight = kPaintedTile.height();
    std::vector<std::vector<uint32_t>> rows(static_cast<size_t>(whole().height() / rowHeight + 1));
    for (uint32_t i = 0; i < layers_.size(); ++i) {
      const QRect inside = layers_[i].extent & whole();
      for (int row = inside.top() / rowHeight; row <= inside.bottom() / rowHeight; ++row) {
        rows[static_cast<size_t>(row)].push_back(i);
      }
    }
    const std::vector<QImage> grounds = isTranslucent() ? std::vector<QImage>() : window_->ground(runs);
    for (size_t i = 0; i < runs.size(); ++i) {
      paintRun(isTranslucent() ? transparentImage(runs[i].size(), window_->imageFormat()) : grounds[i], runs[i],
               rows[static_cast<size_t>(runs[i].top() / rowHeight)]);
    }
  }
  if (!isTranslucent()) {
    window_->setShape(covered_.runs(), hole_);
  }
  window_->refresh(runs);
}

void OverlaySheet::paintRun(QImage image, const QRect& run, const std::vector<uint32_t>& layers) {
  QPainter painter(&image);
  painter.translate(-run.topLeft());
  for (const uint32_t i : layers) {
    const Layer& layer = layers_[i];
    if (layer.extent.intersects(run)) {
      painters_.boxes.paint(painter, layer.placed.layer, layer.box, scale_);
      painters_.labels.paint(painter, layer.placed.layer.label, layer.box.center(), scale_);
    }
  }
  if (const QRect hole = hole_ & run; !hole.isEmpty() && isTranslucent()) {
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(hole, Qt::transparent);
  }
  painter.end();
  window_->put(image, run.topLeft());
}

}  // namespace jumplark
