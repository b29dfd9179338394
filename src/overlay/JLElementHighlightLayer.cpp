#include "overlay/JLElementHighlightLayer.h"

#include <algorithm>

#include "accessibility/JLElement.h"
#include "overlay/Colors.h"
#include "overlay/HighlightFrames.h"
#include "overlay/HighlightOptions.h"
#include "tree/JLElementNode.h"

namespace jumplark {
namespace {

constexpr double kLeastExtent = 2.0;
constexpr double kBoxAlpha = 0.6;
constexpr double kFaintBoxAlpha = 0.2;
constexpr double kFaintLineAlpha = 0.5;

}  // namespace

const Color& JLElementHighlightLayer::yellow() {
  static const Color color = colorWithHexString("ffde5c", kBoxAlpha);
  return color;
}

Rect JLElementHighlightLayer::getVisibleBoundsForElement(const JLElementNode* node) {
  VisibleBoundsReader reader;
  return node ? reader.boundsOf(node->element()) : Rect{};
}

std::unique_ptr<JLElementHighlightLayer> JLElementHighlightLayer::initWithOverlayAndElement(
    const JLOverlayWindow* overlay, const JLElementNode* node) {
  return initWithOverlayAndBounds(overlay, getVisibleBoundsForElement(node));
}

std::unique_ptr<JLElementHighlightLayer> JLElementHighlightLayer::initWithOverlayAndBounds(
    const JLOverlayWindow* overlay, const Rect& visibleBounds) {
  if (std::min(visibleBounds.width, visibleBounds.height) < kLeastExtent) {
    return nullptr;
  }
  return std::unique_ptr<JLElementHighlightLayer>(new JLElementHighlightLayer(overlay ? visibleBounds : Rect{}));
}

JLElementHighlightLayer::JLElementHighlightLayer(const Rect& frame) {
  layer_.frame = frame;
  layer_.background = yellow();
}

JLElementHighlightLayer::~JLElementHighlightLayer() {
  removeFromSuperlayer();
}

void JLElementHighlightLayer::updateOptions(const HighlightOptions& options) {
  layer_.label.text = options.label;
  if (options.backgroundColor) {
    layer_.background = colorWithHexString(*options.backgroundColor, kBoxAlpha);
  }
  const BoxLayer usual;
  layer_.background.alpha = options.isFaint ? kFaintBoxAlpha : kBoxAlpha;
  layer_.border.alpha = options.isFaint ? kFaintLineAlpha : usual.border.alpha;
  layer_.label.foreground.alpha = options.isFaint ? kFaintLineAlpha : usual.label.foreground.alpha;
}

void JLElementHighlightLayer::moveTo(const std::shared_ptr<RootLayer>& parentLayer) {
  removeFromSuperlayer();
  parentLayer_ = parentLayer;
  place_ = parentLayer_->insert(parentLayer_->end(), &layer_);
}

void JLElementHighlightLayer::removeFromSuperlayer() {
  if (parentLayer_) {
    parentLayer_->erase(place_);
    parentLayer_ = nullptr;
  }
}

}  // namespace jumplark
