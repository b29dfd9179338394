#pragma once

#include <QRect>
#include <memory>
#include <optional>
#include <vector>

#include "backends/linux/qt/Backdrop.h"
#include "backends/linux/qt/BoxPainter.h"
#include "backends/linux/qt/ClickThroughWindow.h"
#include "backends/linux/qt/LabelPainter.h"
#include "backends/linux/qt/TileMask.h"
#include "platform/Views.h"

namespace jumplark {

class NativeDisplay;

/// The painters that all sheets share, with what they keep.
struct LayerPainters {
  BoxPainter boxes;
  LabelPainter labels;
};

/// A layer and where it lies, in native pixels.
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
  OverlaySheet(NativeDisplay& display, WindowStack& stack, LayerPainters& painters, const QRect& screen, double scale,
               bool translucent);

  const QRect& screen() const { return window_.geometry(); }
  double scale() const { return scale_; }
  bool isTranslucent() const { return !backdrop_; }

  void show(int level);
  void hide();
  bool isShown() const { return window_.isShown(); }
  /// Those that do not touch the screen are left out. While it is hidden they are kept for the next showing.
  void setLayers(const std::vector<PlacedLayer>& layers);
  /// Where nothing is painted; native pixels of the root.
  void setHole(const QRect& hole);
  /// Tells that what was below the boxes has been repainted by its programs since the sheet was hidden.
  void forgetCovered() { covered_.clear(); }

 private:
  struct Layer {
    PlacedLayer placed;  ///< native
    QRect box;           ///< the following as seen from the sheet's corner
    QRect extent;        ///< with the label
  };

  void markChanges(const std::vector<Layer>& before, const std::vector<Layer>& after);
  void cover();
  void paint();
  QImage ground(const QRect& run) const;
  void paintRun(QImage image, const QRect& run, const std::vector<uint32_t>& layers);

  LayerPainters& painters_;
  double scale_;
  ClickThroughWindow window_;
  std::unique_ptr<Backdrop> backdrop_;  ///< without a compositor
  std::vector<Layer> layers_;
  QRect hole_;  ///< as seen from the sheet's corner
  TileMask dirty_;
  TileMask covered_;  ///< what the window hides, without a compositor
};

}  // namespace jumplark
