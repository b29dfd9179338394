#pragma once

#include <memory>

#include "backends/linux/qt/ClickThroughWindow.h"
#include "backends/linux/qt/wayland/SurfacePicture.h"
#include "backends/linux/wayland/surfaces/FrontSurface.h"
#include "backends/linux/wayland/surfaces/SurfaceGlobals.h"

namespace jumplark {

/// A surface of its own, without Qt, while it is shown; one that is shown later lies in front. Drawn in the output's
/// own pixels, so that it is sharp at every scale.
class LayerPicture final : public ClickThroughWindow {
 public:
  /// Globals and fronts must outlive it.
  LayerPicture(const wayland::SurfaceGlobals& globals, wayland::FrontSurfaces& fronts, wl_display* display,
               const QRect& geometry);
  ~LayerPicture() override;

  QRect geometry() const override { return geometry_; }
  QSize pictureSize() const override { return picture_.size(); }
  bool isTranslucent() const override { return true; }
  QImage::Format imageFormat() const override { return QImage::Format_ARGB32_Premultiplied; }
  void show(int level) override;
  void hide() override;
  bool isShown() const override { return shown_; }
  void setBlank(bool blank) override { blank_ = blank; }
  void put(const QImage& image, QPoint at) override { picture_.put(image, at); }
  void refresh(const std::vector<QRect>& parts) override;

  // Translucent, so that none of these is asked for.
  void setShape(const std::vector<QRect>& /*parts*/, const QRect& /*hole*/) override {}
  void setRoundedShape(double /*radius*/) override {}
  void takeGround(const std::vector<QRect>& /*parts*/) override {}
  std::vector<QImage> ground(const std::vector<QRect>& /*parts*/) override { return {}; }

 private:
  void present();
  void drop();

  const wayland::SurfaceGlobals& globals_;
  wayland::FrontSurfaces& fronts_;
  wl_display* display_;
  QRect geometry_;
  double ratio_;
  SurfacePicture picture_;
  bool shown_ = false;   ///< asked for
  bool mapped_ = false;  ///< the surface has had a picture
  bool blank_ = false;
  bool waiting_ = false;  ///< for a buffer, to show what has changed
  wayland::Owned<wl_surface> surface_;
  wayland::Owned<wp_viewport> viewport_;
  std::unique_ptr<wayland::FrontSurface> layer_;
};

}  // namespace jumplark
