#pragma once

#include <QImage>
#include <QRect>
#include <functional>
#include <memory>
#include <vector>

#include "backends/linux/qt/TileMask.h"
#include "backends/linux/wayland/surfaces/SharedBuffer.h"

namespace jumplark {

/// A picture that a surface shows, in as many buffers as the compositor holds at a time: what has changed since a
/// buffer was shown last is copied into it before it is shown again. What was never drawn costs no memory of this
/// process. Main thread only.
class SurfacePicture {
 public:
  /// `released` is called when present() may succeed again. The shm object must outlive it.
  SurfacePicture(wl_shm* shm, QSize size, std::function<void()> released);
  ~SurfacePicture();
  SurfacePicture(const SurfacePicture&) = delete;
  SurfacePicture& operator=(const SurfacePicture&) = delete;

  QSize size() const { return size_; }
  /// ARGB32_Premultiplied; what lies outside is left out.
  void put(const QImage& image, QPoint at);
  /// Attaches all that was put and says what of it is new, for the surface's next commit. False, and nothing done, when
  /// the compositor holds every buffer or there is no memory.
  bool present(wl_surface* surface);
  /// The next surface has seen nothing yet, and no buffer of an earlier one is waited for.
  void forgetSurface();

 private:
  struct Shown {
    std::unique_ptr<wayland::SharedBuffer> buffer;
    TileMask stale;  ///< where it is older than the picture
  };
  Shown* freeBuffer();
  uint32_t* row(int y) { return pixels_ + static_cast<size_t>(y) * static_cast<size_t>(size_.width()); }

  wl_shm* shm_;
  QSize size_;
  std::function<void()> released_;
  uint32_t* pixels_;  ///< the picture; null without memory
  TileMask drawn_;    ///< where anything was ever put
  TileMask fresh_;    ///< where the surface has not been told of it
  std::vector<Shown> buffers_;
};

}  // namespace jumplark
