#pragma once

#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "backends/linux/wayland/surfaces/FrontSurface.h"
#include "backends/linux/wayland/surfaces/Owned.h"
#include "backends/linux/wayland/surfaces/SurfaceGlobals.h"

namespace jumplark::wayland {

/// Surfaces in front where there is no layer shell, but a compositor that places one window of ours above all others:
/// what takes the keyboard is that window, and all else hangs below it as its subsurfaces, wherever on the outputs they
/// lie. So nothing but that window can get the keyboard, and the others show only while it does. Main thread only.
class PlacedSurfaces final : public FrontSurfaces {
 public:
  /// Has the compositor place the card of the window with that title, before the window is made and whenever it moves.
  /// What is given back is ready when the compositor knows.
  using Placer = std::function<std::future<void>(const std::string& title, Point card)>;
  /// Globals must outlive it, and have all that isPossible() asks for.
  PlacedSurfaces(const SurfaceGlobals& globals, std::string title, Placer placer);
  ~PlacedSurfaces() override;

  static bool isPossible(const SurfaceGlobals& globals) { return globals.windowBase() && globals.subcompositor(); }

  std::unique_ptr<FrontSurface> make(const OutputWatch& output, wl_surface* surface,
                                     const FrontSurface::Options& options, FrontSurface::Events events) override;

 private:
  class Window;
  class Part;
  void windowMoved();

  const SurfaceGlobals& globals_;
  const std::string title_;
  const Placer placer_;
  Window* window_ = nullptr;  ///< while there is one
  std::vector<Part*> parts_;
};

}  // namespace jumplark::wayland
