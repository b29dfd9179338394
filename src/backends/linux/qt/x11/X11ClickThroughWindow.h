#pragma once

#include <xcb/xcb.h>

#include <QImage>
#include <QRect>
#include <memory>
#include <vector>

#include "backends/linux/qt/ClickThroughWindow.h"

namespace jumplark {

class Backdrop;
class NativeDisplay;
class X11ClickThroughWindow;

/// The order of this program's unmanaged windows: one of a higher level lies in front. Outlives them.
class WindowStack {
 public:
  void add(const X11ClickThroughWindow& window);
  void remove(const X11ClickThroughWindow& window);
  /// Puts the window in front of everything but shown windows of higher levels.
  void raise(const X11ClickThroughWindow& window) const;

 private:
  std::vector<const X11ClickThroughWindow*> windows_;
};

/// An unmanaged window whose picture the X server holds as its ground.
class X11ClickThroughWindow final : public ClickThroughWindow {
 public:
  /// Translucency needs a compositor. Display and stack must outlive the window.
  X11ClickThroughWindow(NativeDisplay& display, WindowStack& stack, const QRect& geometry, bool translucent);
  ~X11ClickThroughWindow() override;

  QRect geometry() const override { return geometry_; }
  QSize pictureSize() const override { return geometry_.size(); }
  bool isTranslucent() const override { return translucent_; }
  QImage::Format imageFormat() const override { return format_; }
  void show(int level) override;
  void hide() override;
  bool isShown() const override { return shown_; }
  void put(const QImage& image, QPoint at) override;
  void refresh(const std::vector<QRect>& parts) override;
  void setShape(const std::vector<QRect>& parts, const QRect& hole) override;
  void setRoundedShape(double radius) override;
  void takeGround(const std::vector<QRect>& parts) override;
  std::vector<QImage> ground(const std::vector<QRect>& parts) override;

  int level() const { return level_; }
  /// In front of every other window; see WindowStack::raise for the order among those of this program.
  void putInFront() const;

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
  std::unique_ptr<Backdrop> backdrop_;  ///< of an opaque one, as soon as it is needed
};

/// The format of pictures of that depth in the X server's own layout.
QImage::Format imageFormatOfDepth(uint8_t depth);

}  // namespace jumplark
