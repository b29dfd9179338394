#include "backends/linux/qt/OverlaySheet.h"

#include <QPainter>
#include <algorithm>
#include <functional>
#include <string>
#include <unordered_map>

#include "backends/linux/qt/NativeDisplay.h"

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

}  // namespace

bool PlacedLayer::operator==(const PlacedLayer& other) const {
  return box == other.box && layer.background == other.layer.background &&
         layer.cornerRadius == other.layer.cornerRadius && layer.borderWidth == other.layer.borderWidth &&
         layer.border == other.layer.border && sameLabel(layer.label, other.layer.label);
}

OverlaySheet::OverlaySheet(NativeDisplay& display, WindowStack& stack, LayerPainters& painters, const QRect& screen,
                           double scale, bool translucent)
    : painters_(painters),
      scale_(scale),
      window_(display, stack, screen, translucent),
      dirty_(screen.size(), kPaintedTile),
      covered_(screen.size(), kCoveredTile) {
  if (!window_.isTranslucent()) {
    backdrop_ = std::make_unique<Backdrop>(display, screen);
    window_.setShape({});
  }
}

void OverlaySheet::show(int level) {
  if (!isShown()) {
    cover();
    paint();
  }
  window_.show(level);
}

void OverlaySheet::hide() {
  if (isShown()) {
    window_.hide();
  }
}

void OverlaySheet::setLayers(const std::vector<PlacedLayer>& layers) {
  std::vector<Layer> before = std::move(layers_);
  layers_.clear();
  const QPoint corner = screen().topLeft();
  for (const PlacedLayer& placed : layers) {
    const QRect box = placed.box.translated(-corner);
    const QRect extent = box | painters_.labels.extent(placed.layer.label, scale_).translated(box.center());
    if (extent.intersects(QRect(QPoint(), screen().size()))) {
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
  const QRect inside = hole.translated(-screen().topLeft()) & QRect(QPoint(), screen().size());
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
  if (!backdrop_) {
    return;
  }
  TileMask wanted(screen().size(), kCoveredTile);
  for (const Layer& layer : layers_) {
    wanted.mark(layer.extent);
  }
  TileMask fresh = wanted;
  fresh.subtract(covered_);
  const std::vector<QRect> parts = fresh.runs();
  backdrop_->take(parts);
  for (const QRect& part : parts) {
    dirty_.mark(part);
  }
  covered_ = wanted;
}

void OverlaySheet::paint() {
  const std::vector<QRect> runs = dirty_.runs();
  dirty_.clear();
  if (!runs.empty()) {
    const int rowHeight = kPaintedTile.height();
    std::vector<std::vector<uint32_t>> rows(static_cast<size_t>(screen().height() / rowHeight + 1));
    for (uint32_t i = 0; i < layers_.size(); ++i) {
      const QRect inside = layers_[i].extent & QRect(QPoint(), screen().size());
      for (int row = inside.top() / rowHeight; row <= inside.bottom() / rowHeight; ++row) {
        rows[static_cast<size_t>(row)].push_back(i);
      }
    }
    std::vector<Backdrop::Question> questions;
    for (const QRect& run : runs) {
      if (backdrop_) {
        questions.push_back(backdrop_->ask(run));
      }
    }
    for (size_t i = 0; i < runs.size(); ++i) {
      paintRun(backdrop_ ? backdrop_->read(questions[i]) : ground(runs[i]), runs[i],
               rows[static_cast<size_t>(runs[i].top() / rowHeight)]);
    }
  }
  if (backdrop_) {
    window_.setShape(covered_.runs(), hole_);
  }
  window_.refresh(runs);
}

QImage OverlaySheet::ground(const QRect& run) const {
  QImage image(run.size(), window_.imageFormat());
  image.fill(Qt::transparent);
  return image;
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
  if (const QRect hole = hole_ & run; !hole.isEmpty() && window_.isTranslucent()) {
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(hole, Qt::transparent);
  }
  painter.end();
  window_.put(image, run.topLeft());
}

}  // namespace jumplark
