#pragma once

#include <xcb/xcb.h>

#include <QImage>
#include <QRect>
#include <QSize>
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
  /// What has been copied, asked for now and read later, so that many questions travel together. Reading waits for
  /// the X server only; black when the server has gone. Every question must be read.
  struct Question {
    xcb_get_image_cookie_t cookie;
    QSize size;
  };
  Question ask(const QRect& part) const;
  QImage read(const Question& question) const;

 private:
  NativeDisplay& display_;
  QRect geometry_;
  xcb_pixmap_t copy_;
  xcb_gcontext_t context_;
};

}  // namespace jumplark
