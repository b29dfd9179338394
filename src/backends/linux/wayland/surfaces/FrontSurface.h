#pragma once

#include <functional>
#include <memory>

#include "platform/Geometry.h"
#include "platform/Queues.h"

struct wl_surface;

namespace jumplark::wayland {

class BoundedQueue;
class OutputWatch;

/// Makes a surface one in front of all windows, at a place of the layout. As soon as it is configured the surface may
/// get a picture, and shows. Main thread only.
class FrontSurface {
 public:
  struct Events {
    /// The first time only. Not called while awaitConfigured waits, nor where it is configured from the beginning.
    std::function<void()> configured;
    /// The compositor has taken it away, for example with its output; it shows no more and is to be destroyed, within
    /// the call or later.
    std::function<void()> closed;
  };
  struct Options {
    Rect place;   ///< logical pixels of the layout, top-left origin
    Rect card{};  ///< what of it counts as the window, without the shadow around; from the surface's corner
    bool takesKeyboard = false;
    BoundedQueue* queue = nullptr;  ///< for awaitConfigured; outlives it
  };

  FrontSurface() = default;
  FrontSurface(const FrontSurface&) = delete;
  FrontSurface& operator=(const FrontSurface&) = delete;
  virtual ~FrontSurface() = default;

  /// Takes effect with the surface's next commit.
  virtual void moveTo(const Rect& place, const Rect& card) = 0;
  /// To be called before each commit with a picture that another hand makes.
  virtual void pictureComes() {}
  virtual bool isConfigured() const = 0;
  /// False when the compositor does not answer in time or takes the surface away. To be called at once, or not at all.
  virtual bool awaitConfigured(Duration limit) = 0;
};

/// The way in which a compositor lets surfaces lie in front. Outlives what it makes.
class FrontSurfaces {
 public:
  virtual ~FrontSurfaces() = default;
  /// Commits the surface, which has no picture yet. Surface and the output's proxy must outlive it.
  virtual std::unique_ptr<FrontSurface> make(const OutputWatch& output, wl_surface* surface,
                                             const FrontSurface::Options& options, FrontSurface::Events events) = 0;
};

}  // namespace jumplark::wayland
