#pragma once

#include <xcb/xcb.h>

#include <QImage>
#include <QRect>
#include <vector>

namespace jumplark {

class NativeDisplay;
class ClickThroughWindow;

/// The order of this program's unmanaged windows: one of a higher level lies in front. Outlives them.
class WindowStack {
 public:
  void add(const ClickThroughWindow& window);
  void remove(const ClickThroughWindow& window);
  /// Puts the window in front of everything but shown windows of higher levels.
  void raise(const ClickThroughWindow& window) const;

 private:
  std::vector<const ClickThroughWindow*> windows_;
};

/// A picture that hovers in front of all other windows: the window manager knows nothing of it, clicks go through it,
/// it never takes the keyboard. The X server holds the picture and paints it whenever it gets uncovered, also while
/// this process is busy. Hidden at first. Rectangles are in native pixels; those of its parts count from its own upper
/// left corner. Main thread only.
class ClickThroughWindow {
 public:
  /// With `translucent`, which needs a compositor, pixels have an alpha and are transparent at first; otherwise the
  /// picture is opaque, without contents at first, and setShape() says what of it there is.
  ClickThroughWindow(NativeDisplay& display, WindowStack& stack, const QRect& geometry, bool translucent);
  ~ClickThroughWindow();
  ClickThroughWindow(const ClickThroughWindow&) = delete;
  ClickThroughWindow& operator=(const ClickThroughWindow&) = delete;

  const QRect& geometry() const { return geometry_; }
  bool isTranslucent() const { return translucent_; }
  /// What pictures must have. Opaque ones ignore the alpha.
  QImage::Format imageFormat() const { return format_; }
  xcb_window_t id() const { return window_; }
  uint8_t depth() const { return depth_; }
  int level() const { return level_; }

  /// Above windows of lower levels.
  void show(int level);
  void hide();
  bool isShown() const { return shown_; }
  /// In front of every other window; see WindowStack::raise for the order among those of this program.
  void putInFront() const;

  /// Replaces part of the picture, which shows after refresh(). Rows must follow each other without a gap, but for
  /// padding to 4 bytes.
  void put(const QImage& image, QPoint at);
  /// Shows what has been put.
  void refresh(const std::vector<QRect>& parts);
  /// Limits the window to these parts, sorted as runs of TileMask are, without `hole`.
  void setShape(const std::vector<QRect>& parts, const QRect& hole = {});
  void setRoundedShape(double radius);

 private:
  void create(xcb_visualid_t visual);
  void setProperties();

  NativeDisplay& display_;
  WindowStack& stack_;
  QRect geometry_;
  bool translucent_ = false;
  QImage::Format format_ = QImage::Format_RGB32;
  uint8_t depth_ = 24;
  int level_ = 0;
  bool shown_ = false;
  xcb_window_t window_ = XCB_WINDOW_NONE;
  xcb_pixmap_t picture_ = XCB_PIXMAP_NONE;
  xcb_colormap_t colormap_ = XCB_NONE;
  xcb_gcontext_t context_ = XCB_NONE;
};

/// The format of pictures of that depth in the X server's own layout.
QImage::Format imageFormatOfDepth(uint8_t depth);

}  // namespace jumplark
