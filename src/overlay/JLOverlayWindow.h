#pragma once

#include <list>
#include <memory>
#include <optional>

#include "platform/Views.h"

namespace jumplark {

class JLElementHighlightLayer;

/// The boxes of a window, in the order of drawing. Each belongs to whoever put it there and is taken out by it.
using RootLayer = std::list<const BoxLayer*>;

/// The transparent window above everything else in which the matches are drawn. One is made for each time it is shown.
/// Changes of its layers are seen after refresh(). Main thread only.
class JLOverlayWindow {
 public:
  JLOverlayWindow();
  JLOverlayWindow(const JLOverlayWindow&) = delete;
  JLOverlayWindow& operator=(const JLOverlayWindow&) = delete;
  /// Takes it off the screen.
  ~JLOverlayWindow();

  OverlayView& view() { return *view_; }
  const std::shared_ptr<RootLayer>& rootLayer() const { return rootLayer_; }
  void show();
  /// Puts the layer's box in front of all others.
  void addHighlightLayer(JLElementHighlightLayer& layer);
  /// Outlines a rectangle, for instance the target's window; none removes the outline. Screen coordinates with a
  /// bottom-left origin.
  void setOutlineRect(const std::optional<Rect>& rect);
  /// The last outline that was given.
  const std::optional<Rect>& outlineRect() const { return outlineRect_; }
  /// Brings everything to the screen in one update.
  void refresh();

 private:
  std::unique_ptr<OverlayView> view_;
  std::shared_ptr<RootLayer> rootLayer_ = std::make_shared<RootLayer>();
  std::optional<BoxLayer> windowOutlineLayer_;
  std::optional<Rect> outlineRect_;
};

}  // namespace jumplark
