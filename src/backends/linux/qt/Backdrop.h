#pragma once

#include <xcb/xcb.h>

#include <QImage>
#include <QRect>
#include <vector>

namespace jumplark {

class NativeDisplay;

/// A copy of what shows in a part of the screen, kept by the X server: the ground for translucent pictures where no
/// compositor mixes them with what lies below. Rectangles are in native pixels and count from the part's corner.
class Backdrop {
 public:
  Backdrop(NativeDisplay& display, const QRect& geometry);
  ~Backdrop();
  Backdrop(const Backdrop&) = delete;
  Backdrop& operator=(const Backdrop&) = delete;

  /// Copies what shows there now; the rectangles are sorted as runs of TileMask are.
  void take(const std::vector<QRect>& parts);
  /// What has been copied. Waits for the X server only. Null when the server has gone.
  QImage read(const QRect& part) const;

 private:
  NativeDisplay& display_;
  QRect geometry_;
  xcb_pixmap_t copy_;
  xcb_gcontext_t context_;
};

}  // namespace jumplark
