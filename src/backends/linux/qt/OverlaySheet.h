#pragma once

#include <QRect>
#include <memory>
#include <optional>
#include <vector>

#include "backends/linux/qt/BoxPainter.h"
#include "backends/linux/qt/ClickThroughWindow.h"
#include "backends/linux/qt/LabelPainter.h"
#include "backends/linux/qt/TileMask.h"
#include "platform/Views.h"

namespace jumplark {

class NativeWindows;

/// The painters that all sheets share, with what they keep.
struct LayerPainters {
  BoxPainter boxes;
  LabelPainter labels;
};

/// A layer and where it lies; native.
struct PlacedLayer {
  BoxLayer layer;
  QRect box;
  bool operator==(const PlacedLayer& other) const;
};

/// The part of the overlay that lies over one screen. It paints only what changed from one set of layers to the next.
///
/// With a compositor it is a translucent window. Without one it is an opaque window that consists of the neighbourhoods
/// of the boxes only, so that the rest of the screen stays alive, and shows a copy of the screen below them. What lies
/// below boxes that are shown already cannot be copied anew and stays as it was.
class OverlaySheet {
 public:
  /// The screen's frame is native, `scale` native units per point there.
  OverlaySheet(NativeWindows& windows, LayerPainters& painters, const QRect& screen, double scale);

  /// Native.
  const QRect& screen() const { return screen_; }
  /// Pixels of its picture per point.
  double scale() const { return scale_; }
  bool isTranslucent() const { return window_->isTranslucent(); }

  void show(int level);
  void hide();
  bool isShown() const { return window_->isShown(); }
  /// Those that do not touch the screen are left out. While it is hidden they are kept for the next showing.
  void setLayers(const std::vector<PlacedLayer>& layers);
  /// Where nothing is painted; native.
  void setHole(const QRect& hole);
  /// Tells that what was below the boxes has been repainted by its programs since the sheet was hidden.
  void forgetCovered() { covered_.clear(); }

 private:
  struct Layer {
    PlacedLayer placed;  ///< native
    QRect box;           ///< the following in pixels, from the sheet's corner
    QRect extent;        ///< with the label
  };

  void markChanges(const std::vector<Layer>& before, const std::vector<Layer>& after);
  void cover();
  void paint();
  QRect toPixels(const QRect& native) const;
  QRect whole() const { return {QPoint(), window_->pictureSize()}; }
  void paintRun(QImage image, const QRect& run, const std::vector<uint32_t>& layers);

  LayerPainters& painters_;
  QRect screen_;
  double ratio_;  ///< pixels per native unit
  double scale_;
  std::unique_ptr<ClickThroughWindow> window_;
  std::vector<Layer> layers_;
  QRect hole_;  ///< in pixels, from the sheet's corner
  TileMask dirty_;
  TileMask covered_;  ///< what the window hides, without a compositor
};

}  // namespace jumplark
