#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "backends/linux/wayland/surfaces/OutputWatch.h"
#include "backends/linux/wayland/surfaces/Owned.h"
#include "platform/Geometry.h"

struct wl_display;

namespace jumplark::wayland {

/// What the compositor offers for surfaces, and its outputs as they come and go. Main thread only, where somebody else
/// dispatches the connection's events.
class SurfaceGlobals {
 public:
  /// Waits for the compositor. The connection must outlive it. `outputsChanged` is called after later changes.
  SurfaceGlobals(wl_display* display, std::function<void()> outputsChanged);
  ~SurfaceGlobals();
  SurfaceGlobals(const SurfaceGlobals&) = delete;
  SurfaceGlobals& operator=(const SurfaceGlobals&) = delete;

  /// There is what every surface with a picture needs.
  bool isComplete() const { return compositor_ && shm_; }
  wl_compositor* compositor() const { return compositor_.get(); }
  wl_shm* shm() const { return shm_.get(); }
  // Null where the compositor has none.
  zwlr_layer_shell_v1* layerShell() const { return layerShell_.get(); }
  wl_subcompositor* subcompositor() const { return subcompositor_.get(); }
  xdg_wm_base* windowBase() const { return windowBase_.get(); }
  /// Null where pictures are as large as a whole scale makes them.
  wp_viewporter* viewporter() const { return viewporter_.get(); }

  /// The one that holds the place, else the nearest; null when there is none.
  const OutputWatch* outputAt(Point place) const;
  /// By the compositor's number for it.
  bool hasOutput(uint32_t number) const;
  /// Pixels of a picture per logical pixel there.
  double ratioAt(Point place) const;

 private:
  void add(uint32_t name, const std::string& interface, uint32_t version);
  void remove(uint32_t name);
  void askForPlaces();
  void tellOfOutputs();

  Owned<wl_registry> registry_;
  Owned<wl_compositor> compositor_;
  Owned<wl_shm> shm_;
  Owned<zwlr_layer_shell_v1> layerShell_;
  Owned<wl_subcompositor> subcompositor_;
  Owned<xdg_wm_base> windowBase_;
  Owned<wp_viewporter> viewporter_;
  Owned<zxdg_output_manager_v1> places_;
  std::vector<std::unique_ptr<OutputWatch>> outputs_;
  std::function<void()> outputsChanged_;
  bool isTelling_ = false;  ///< not before the first answers have come
};

}  // namespace jumplark::wayland
