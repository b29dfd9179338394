#pragma once

#include <functional>

#include "backends/linux/wayland/surfaces/Owned.h"
#include "backends/linux/wayland/surfaces/SurfaceGlobals.h"
#include "platform/Geometry.h"
#include "platform/Queues.h"

namespace jumplark::wayland {

class BoundedQueue;

/// Makes a surface one in front of all windows, full-screen ones as well, at a place of the layout. As soon as it is
/// configured the surface may get a picture, and shows. Main thread only.
class LayerSurface {
 public:
  struct Events {
    /// The first time only. Not called while awaitConfigured waits.
    std::function<void()> configured;
    /// The compositor has taken it away, for example with its output; it shows no more and is to be destroyed, within
    /// the call or later.
    std::function<void()> closed;
  };
  struct Options {
    Rect place;  ///< logical pixels of the layout, top-left origin
    bool takesKeyboard = false;
    BoundedQueue* queue = nullptr;  ///< for awaitConfigured; outlives it
  };

  /// Commits the surface, which has no picture yet. Globals, surface and the output's proxy must outlive it.
  LayerSurface(const SurfaceGlobals& globals, const OutputWatch& output, wl_surface* surface, const Options& options,
               Events events);
  ~LayerSurface();
  LayerSurface(const LayerSurface&) = delete;
  LayerSurface& operator=(const LayerSurface&) = delete;

  /// Takes effect with the surface's next commit.
  void moveTo(const Rect& place);
  bool isConfigured() const { return configured_; }
  /// False when the compositor does not answer in time or takes the surface away. To be called at once, or not at all.
  bool awaitConfigured(Duration limit);

 private:
  Point corner_;  ///< of the output
  Owned<zwlr_layer_surface_v1> layer_;
  BoundedQueue* queue_;
  Events events_;
  bool configured_ = false;
  bool closed_ = false;
  bool waiting_ = false;
};

}  // namespace jumplark::wayland
