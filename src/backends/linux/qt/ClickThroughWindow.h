#pragma once

#include <QImage>
#include <QRect>
#include <vector>

namespace jumplark {

/// A picture that hovers in front of all other windows: the window manager knows nothing of it, clicks go through it,
/// it never takes the keyboard. The window system holds the picture and paints it whenever it gets uncovered, also
/// while this process is busy. Hidden at first.
///
/// Its place is native, see ScreenGeometry; what is within it is in pixels of the picture, from the upper left corner.
/// Main thread only.
class ClickThroughWindow {
 public:
  ClickThroughWindow() = default;
  virtual ~ClickThroughWindow() = default;
  ClickThroughWindow(const ClickThroughWindow&) = delete;
  ClickThroughWindow& operator=(const ClickThroughWindow&) = delete;

  /// Native.
  virtual QRect geometry() const = 0;
  virtual QSize pictureSize() const = 0;
  /// Pixels of a translucent picture have an alpha and are transparent at first. An opaque one is without contents at
  /// first, and setShape() says what of it there is.
  virtual bool isTranslucent() const = 0;
  /// What pictures must have. Opaque ones ignore the alpha.
  virtual QImage::Format imageFormat() const = 0;

  /// Above windows of lower levels.
  virtual void show(int level) = 0;
  virtual void hide() = 0;
  virtual bool isShown() const = 0;
  /// Tells, before show() and refresh(), whether the whole picture is transparent: one that has not been on the screen
  /// since show() then stays off it, which saves the compositor a frame.
  virtual void setBlank(bool /*blank*/) {}

  /// Replaces part of the picture, which shows after refresh(). Rows must follow each other without a gap, but for
  /// padding to 4 bytes.
  virtual void put(const QImage& image, QPoint at) = 0;
  /// Shows what has been put.
  virtual void refresh(const std::vector<QRect>& parts) = 0;

  // Of opaque ones only; parts are sorted as runs of TileMask are.

  /// Limits the window to these parts, without `hole`.
  virtual void setShape(const std::vector<QRect>& parts, const QRect& hole) = 0;
  virtual void setRoundedShape(double radius) = 0;
  /// Copies what shows on the screen there now, the ground for translucent boxes.
  virtual void takeGround(const std::vector<QRect>& parts) = 0;
  /// What has been copied, a picture a part; black when the window system has gone.
  virtual std::vector<QImage> ground(const std::vector<QRect>& parts) = 0;
};

}  // namespace jumplark
