#pragma once

#include <memory>

#include "overlay/JLOverlayWindow.h"
#include "platform/Geometry.h"
#include "platform/Views.h"

namespace jumplark {

class JLElementNode;
struct HighlightOptions;

/// The box of one highlighted element with its label. Destroying it takes the box out of the window. Main thread only,
/// but for the class operations.
class JLElementHighlightLayer {
 public:
  /// The colour of a box that is not selected.
  static const Color& yellow();
  /// Where the node's element can be seen: its bounds clipped by what it lies in, of an item of a menu bar its whole
  /// bounds; a zero rectangle without an element. Bottom-left origin. Reads the element.
  static Rect getVisibleBoundsForElement(const JLElementNode* node);
  /// Null for an element that is less than 2 points wide or high. Without an overlay the box has no extent.
  static std::unique_ptr<JLElementHighlightLayer> initWithOverlayAndElement(const JLOverlayWindow* overlay,
                                                                            const JLElementNode* node);
  /// The same for visible bounds that are known.
  static std::unique_ptr<JLElementHighlightLayer> initWithOverlayAndBounds(const JLOverlayWindow* overlay,
                                                                           const Rect& visibleBounds);

  JLElementHighlightLayer(const JLElementHighlightLayer&) = delete;
  JLElementHighlightLayer& operator=(const JLElementHighlightLayer&) = delete;
  ~JLElementHighlightLayer();

  const BoxLayer& layer() const { return layer_; }
  /// A colour that the options do not name stays as it is.
  void updateOptions(const HighlightOptions& options);
  /// Leaves the window it is in, if any, and comes to lie in front in this one.
  void moveTo(const std::shared_ptr<RootLayer>& parentLayer);

 private:
  explicit JLElementHighlightLayer(const Rect& frame);
  void removeFromSuperlayer();

  BoxLayer layer_;
  std::shared_ptr<RootLayer> parentLayer_;
  RootLayer::iterator place_;  ///< in parentLayer_, if there is one
};

}  // namespace jumplark
