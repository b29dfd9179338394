#include "overlay/JLOverlayWindow.h"

#include <utility>
#include <vector>

#include "overlay/Colors.h"
#include "overlay/JLElementHighlightLayer.h"
#include "platform/Platform.h"

namespace jumplark {

JLOverlayWindow::JLOverlayWindow() : view_(Platform::current().views->makeOverlay()) {
  view_->setLevel(window_level::screenSaver + 1);
}

JLOverlayWindow::~JLOverlayWindow() {
  view_->orderOut();
}

void JLOverlayWindow::show() {
  view_->orderFront();
}

void JLOverlayWindow::addHighlightLayer(JLElementHighlightLayer& layer) {
  layer.moveTo(rootLayer_);
}

void JLOverlayWindow::setOutlineRect(const std::optional<Rect>& rect) {
  if (windowOutlineLayer_) {
    rootLayer_->remove(&*windowOutlineLayer_);
    windowOutlineLayer_.reset();
  }
  if (rect) {
    outlineRect_ = rect;
    windowOutlineLayer_ = BoxLayer{.frame = *rect,
                                   .background = {0, 0, 0, 0},
                                   .cornerRadius = 5,
                                   .borderWidth = 2,
                                   .border = colorWithHexString("0058ff", 0.8),
                                   .label = {}};
    rootLayer_->push_back(&*windowOutlineLayer_);
  }
  refresh();
}

void JLOverlayWindow::refresh() {
  std::vector<BoxLayer> layers;
  layers.reserve(rootLayer_->size());
  for (const BoxLayer* layer : *rootLayer_) {
    layers.push_back(*layer);
  }
  view_->setLayers(std::move(layers));
}

}  // namespace jumplark
