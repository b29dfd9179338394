#pragma once

#include <memory>

#include "backends/linux/wayland/surfaces/FrontSurface.h"
#include "backends/linux/wayland/surfaces/Owned.h"
#include "backends/linux/wayland/surfaces/SurfaceGlobals.h"

namespace jumplark::wayland {

/// A surface of the layer shell, in front of full-screen windows as well.
class LayerSurface final : public FrontSurface {
 public:
  LayerSurface(const SurfaceGlobals& globals, const OutputWatch& output, wl_surface* surface, const Options& options,
               Events events);
  ~LayerSurface() override;

  void moveTo(const Rect& place, const Rect& card) override;
  bool isConfigured() const override { return configured_; }
  bool awaitConfigured(Duration limit) override;

 private:
  Point corner_;  ///< of the output
  Owned<zwlr_layer_surface_v1> layer_;
  BoundedQueue* queue_;
  Events events_;
  bool configured_ = false;
  bool closed_ = false;
  bool waiting_ = false;
};

/// Of a compositor that has the layer shell.
class LayerSurfaces final : public FrontSurfaces {
 public:
  /// Globals must outlive it.
  explicit LayerSurfaces(const SurfaceGlobals& globals) : globals_(globals) {}
  std::unique_ptr<FrontSurface> make(const OutputWatch& output, wl_surface* surface,
                                     const FrontSurface::Options& options, FrontSurface::Events events) override {
    return std::make_unique<LayerSurface>(globals_, output, surface, options, std::move(events));
  }

 private:
  const SurfaceGlobals& globals_;
};

}  // namespace jumplark::wayland
