#include "backends/linux/qt/wayland/LayerPicture.h"

#include <wayland-client.h>

#include <cmath>
#include <utility>

#include "backends/linux/qt/QtMainLoop.h"

namespace jumplark {
namespace {

QSize pixels(QSize native, double ratio) {
  return {static_cast<int>(std::lround(native.width() * ratio)),
          static_cast<int>(std::lround(native.height() * ratio))};
}

double ratioAt(const wayland::SurfaceGlobals& globals, QPoint place) {
  return globals.ratioAt({static_cast<double>(place.x()), static_cast<double>(place.y())});
}

}  // namespace

LayerPicture::LayerPicture(const wayland::SurfaceGlobals& globals, wayland::FrontSurfaces& fronts, wl_display* display,
                           const QRect& geometry)
    : globals_(globals),
      fronts_(fronts),
      display_(display),
      geometry_(geometry.topLeft(), geometry.size().expandedTo(QSize(1, 1))),
      ratio_(ratioAt(globals, geometry_.center())),
      picture_(globals.shm(), pixels(geometry_.size(), ratio_), [this] {
        if (std::exchange(waiting_, false)) {
          QtMainLoop::guarded([this] { present(); });
        }
      }) {}

LayerPicture::~LayerPicture() {
  if (shown_) {
    hide();
  }
}

void LayerPicture::show(int /*level*/) {
  const QPoint middle = geometry_.center();
  const auto* output = globals_.outputAt({static_cast<double>(middle.x()), static_cast<double>(middle.y())});
  if (std::exchange(shown_, true) || !output) {
    return;
  }
  surface_.reset(wl_compositor_create_surface(globals_.compositor()));
  const wayland::Owned<wl_region> nothing(wl_compositor_create_region(globals_.compositor()));
  wl_surface_set_input_region(surface_.get(), nothing.get());
  if (globals_.viewporter()) {
    viewport_.reset(wp_viewporter_get_viewport(globals_.viewporter(), surface_.get()));
    wp_viewport_set_destination(viewport_.get(), geometry_.width(), geometry_.height());
  } else {
    wl_surface_set_buffer_scale(surface_.get(), static_cast<int32_t>(ratio_));
  }
  const Rect place{static_cast<double>(geometry_.x()), static_cast<double>(geometry_.y()),
                   static_cast<double>(geometry_.width()), static_cast<double>(geometry_.height())};
  layer_ = fronts_.make(
      *output, surface_.get(), {.place = place, .card = {}},
      wayland::FrontSurface::Events{[this] { QtMainLoop::guarded([this] { present(); }); }, [this] { drop(); }});
  wl_display_flush(display_);
  present();
}

void LayerPicture::drop() {
  layer_.reset();
  viewport_.reset();
  surface_.reset();
  mapped_ = false;
  picture_.forgetSurface();
}

void LayerPicture::hide() {
  shown_ = false;
  drop();
  wl_display_flush(display_);
}

void LayerPicture::refresh(const std::vector<QRect>& parts) {
  if (!parts.empty() || !mapped_) {
    present();
  }
}

void LayerPicture::present() {
  if (!layer_ || !layer_->isConfigured() || (blank_ && !mapped_)) {
    return;
  }
  waiting_ = !picture_.present(surface_.get());
  if (!waiting_) {
    mapped_ = true;
    wl_surface_commit(surface_.get());
    wl_display_flush(display_);
  }
}

}  // namespace jumplark
